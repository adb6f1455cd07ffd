#pragma once

#include <memory>

#include "app/AppDelegate.h"
#include "platform/SingleInstance.h"

namespace keyvane {

class MainVC;

// What the program entry starts, in order: the one copy of the application in this session, the
// main window with its controller (whose view loads at once), the delegate, and the launch.
class Launch {
  public:
    enum class Outcome {
        Running,                  // this process is the application; run the event loop
        HandedToRunningCopy,      // another copy runs and was asked to show its window
        RunningCopyDidNotAnswer,  // another copy holds the name but did not answer
    };

    explicit Launch(LifecycleSettings settings = LifecycleSettings());
    ~Launch();

    Outcome start();

    MainVC& mainVC() const { return *mainVC_; }
    AppDelegate& delegate() { return delegate_; }

  private:
    SingleInstance instance_;
    AppDelegate delegate_;
    std::unique_ptr<MainVC> mainVC_;
};

}  // namespace keyvane
