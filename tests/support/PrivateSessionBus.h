#pragma once

#include <sys/types.h>

#include <string>
#include <utility>

namespace keyvane::testing {

// Starts a dbus-daemon with these options; it answers once it listens, with its address and pid.
std::pair<std::string, pid_t> startDbusDaemon(const std::string& options);

// A session bus of its own (a dbus-daemon started for the object's life) that this process and
// the programs it starts use, so that names claimed in one test never meet another test or the
// desktop session of the person running the tests. Create it before anything reaches the bus.
class PrivateSessionBus {
  public:
    PrivateSessionBus();
    ~PrivateSessionBus();
    PrivateSessionBus(const PrivateSessionBus&) = delete;
    PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;

    const std::string& address() const { return address_; }

  private:
    std::string address_;
    std::string savedAddress_;
    pid_t daemon_ = -1;
};

}  // namespace keyvane::testing
