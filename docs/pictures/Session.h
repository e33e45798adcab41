#pragma once

#include "actions/KXActionQueue.h"
#include "input/KXInputEventManager.h"
#include "terminal/actions/ActionDesk.h"
#include "terminal/events/EventModel.h"
#include "terminal/settings/InputSettings.h"
#include "terminal/window/MainWindow.h"

#include <QSize>

namespace Pictures {

/// A terminal in virtual time, and the operator who works at it. The library classifies what he does, so the pictures
/// show what a terminal shows, and are the same on each machine.
class Session {
public:
    /// \param size  of the window
    explicit Session(const QSize& size);
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void passes(unsigned int ms);
    void pressesKey(int toolkitKey, unsigned int heldMs);
    void holdsKey(int toolkitKey);
    void turnsWheel(int detents);
    void turnsKnob(unsigned int gapMs); ///< one step, after a pause
    void startsLoop();

    /// A minute of work: presses, a double press, a long press, turns of the encoder and actions.
    void works();

    Terminal::MainWindow& window();
    Terminal::InputSettings& settings();

private:
    void reportsKey(int type, int toolkitKey);
    void takesEvents();

    KX::KXInputEventManager* manager;
    Terminal::EventModel model;
    Terminal::InputSettings inputSettings;
    Terminal::ActionDesk desk;
    Terminal::MainWindow mainWindow;
};

} // namespace Pictures
