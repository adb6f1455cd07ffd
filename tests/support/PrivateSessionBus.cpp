#include "tests/support/PrivateSessionBus.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

#include <stdexcept>
#include <tuple>

namespace keyvane::testing {
namespace {

std::string readLine(FILE* in) {
    char line[1024];
    if (!fgets(line, sizeof line, in))
        throw std::runtime_error("dbus-daemon did not start");
    std::string text = line;
    while (!text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

}  // namespace

std::pair<std::string, pid_t> startDbusDaemon(const std::string& options) {
    FILE* daemon = ::popen(
        ("dbus-daemon " + options + " --fork --print-address=1 --print-pid=1").c_str(), "r");
    if (!daemon)
        throw std::runtime_error("cannot run dbus-daemon");
    std::string address = readLine(daemon);
    const auto pid = static_cast<pid_t>(std::stol(readLine(daemon)));
    ::pclose(daemon);
    return {address, pid};
}

PrivateSessionBus::PrivateSessionBus() {
    if (const char* saved = ::getenv("DBUS_SESSION_BUS_ADDRESS"))
        savedAddress_ = saved;
    std::tie(address_, daemon_) = startDbusDaemon("--session");
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address_.c_str(), 1);
}

PrivateSessionBus::~PrivateSessionBus() {
    ::kill(daemon_, SIGTERM);
    if (savedAddress_.empty())
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    else
        ::setenv("DBUS_SESSION_BUS_ADDRESS", savedAddress_.c_str(), 1);
}

}  // namespace keyvane::testing
