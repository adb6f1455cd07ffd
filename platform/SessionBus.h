#pragma once

#include <string>

namespace keyvane::session_bus {

// The programs of one desktop session find each other on its message bus (D-Bus): every Keyvane
// program owns its bundle identifier there as a well-known name while it runs, which is how one
// program tells whether another is running.

// Whether this process reached the session bus.
bool available();

// Takes `identifier` as this process's name for as long as it runs. False when there is no bus or
// another process holds the name.
bool claimName(const std::string& identifier);

// Whether a running process holds `identifier`.
bool isRunning(const std::string& identifier);

}  // namespace keyvane::session_bus
