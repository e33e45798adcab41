#include "actions/KXActionQueue.h"
#include "encoder/KXEncoderDynamic.h"
#include "events/KXEventKind.h"
#include "events/KXEventQueue.h"
#include "events/KXEventType.h"
#include "events/KXKeyCode.h"
#include "input/KXInputEventManager.h"
#include "platform/KXStatus.h"
#include "platform/KXTick.h"
#include "platform/simulated/KXSimulation.h"
#include "recording/KXEventLine.h"
#include "recording/KXFunctionKeys.h"
#include "recording/KXKeyLayout.h"
#include "recording/KXSessionRecorder.h"
#include "replay/KXSessionPlayer.h"
#include "toolkit/KXEventNotifier.h"
#include "toolkit/KXToolkitLayer.h"

#include <gtest/gtest.h>

#include <Qt>

#include <cstdio>
#include <map>
#include <memory>

struct Application {
    void take(const KX::KXInputEvent& event);
    int openPages() const;
};

void statements(KX::KXInputEventManager* manager, Application& application, KX::KXAction& action, void* object,
                KX::KXInputEvent& event);

void statements([[maybe_unused]] KX::KXInputEventManager* manager, [[maybe_unused]] Application& application,
                [[maybe_unused]] KX::KXAction& action, [[maybe_unused]] void* object,
                [[maybe_unused]] KX::KXInputEvent& event) {
SNIPPET
}
