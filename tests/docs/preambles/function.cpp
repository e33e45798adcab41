#include "actions/KXActionQueue.h"
#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventKind.h"
#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "input/KXInputEventManager.h"
#include "input/KXInputObserver.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"
#include "recording/KXEventLine.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXRecording.h"
#include "recording/KXSessionRecorder.h"
#include "replay/KXSessionPlayer.h"

#include <Qt>

#include <cstdio>
#include <map>
#include <memory>

SNIPPET
