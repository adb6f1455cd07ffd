#pragma once

#include <QObject>
#include <QTimer>
#include <chrono>

#include "platform/DistributedNotificationCenter.h"

namespace keyvane {

// The login helper. The desktop starts it at login while "apply at login" is on; it takes its
// name on the session bus (which tells Keyvane that this is a login launch), starts Keyvane, and
// quits when Keyvane posts "killLauncher". Should that never come, it quits by itself.
class KeyvaneLauncher : public QObject {
    Q_OBJECT
  public:
    static constexpr std::chrono::seconds defaultPatience{60};

    explicit KeyvaneLauncher(std::chrono::milliseconds patience = defaultPatience);

    enum class Start {
        Waiting,      // Keyvane was started; the event loop ends with 0 when it reports its start
                      // and with 1 when it does not in time
        NothingToDo,  // Keyvane, or another launcher, already runs
        Failed,       // no session bus, or Keyvane could not be found or started
    };
    // Says on standard error why it did not start Keyvane.
    Start start();

  private:
    DistributedNotificationCenter notifications_;
    QTimer patience_;
};

}  // namespace keyvane
