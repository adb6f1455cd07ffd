#pragma once

#include <string>

namespace keyvane::session_bus {

// The programs of one desktop session find each other on its message bus (D-Bus): every Keyvane
// program owns its bundle identifier there as a well-known name while it runs, which is how one
// program tells whether another is running.

// Whether this process reached the session bus.
bool available();

enum class NameClaim {
    Owned,           // this process holds the name for as long as it runs
    TakenByAnother,  // another process holds it
    Refused,         // nobody got it: no bus, or the bus refused it (`error` says why)
};
// Takes `identifier` as this process's name for as long as it runs.
NameClaim claimName(const std::string& identifier, std::string& error);

// Whether a running process holds `identifier`.
bool isRunning(const std::string& identifier);

}  // namespace keyvane::session_bus
