#pragma once

#include <QtGlobal>
#include <memory>

#include "app/AppDelegate.h"
#include "app/CommandService.h"
#include "platform/SingleInstance.h"

namespace keyvane {

class MainVC;

// What the program entry starts, in order: the one copy of the application for this user (which
// also answers the command line), the main window with its controller (whose view loads at once),
// the delegate, and the launch.
class Launch {
  public:
    enum class Outcome {
        Running,                  // this process is the application; run the event loop
        HandedToRunningCopy,      // another copy runs and was asked to show its window
        RunningCopyDidNotAnswer,  // another copy holds the name but did not answer
        RunningOutOfReach,        // another copy runs, but not on this session bus
    };

    static constexpr const char* notAnsweringMessage =
        QT_TRANSLATE_NOOP("Launch", "Keyvane already runs but does not answer: ");
    static constexpr const char* outOfReachMessage = QT_TRANSLATE_NOOP(
        "Launch",
        "Keyvane already runs for this user, outside this session's message bus, so it "
        "cannot be asked to show its window from here; this start ends. Use the window of the "
        "running copy, or end it first.");
    static constexpr const char* noBusMessage = QT_TRANSLATE_NOOP(
        "Launch",
        "no session bus; starting as a normal launch (a second start cannot ask this one "
        "to show its window, and the login helper cannot be told to quit)");

    // `token` is what this start was given to bring a window to the front, read before the
    // application object took it (LaunchToken::fromEnvironment).
    explicit Launch(LifecycleSettings settings = LifecycleSettings(), LaunchToken token = {});
    ~Launch();

    Outcome start();
    // Asks the copy that runs on this session bus to show its window, handing it `token`.
    static Outcome askRunningCopyToReopen(const LaunchToken& token);

    MainVC& mainVC() const { return *mainVC_; }

  private:
    LaunchToken token_;
    CommandService commands_;
    SingleInstance instance_;
    AppDelegate delegate_;
    std::unique_ptr<MainVC> mainVC_;
};

}  // namespace keyvane
