#pragma once

#include <string>

namespace keyvane {

// What the application knows about its own package, fixed when it is built.
namespace bundle {

inline constexpr const char* appIdentifier = "app.keyvane.Keyvane";
inline constexpr const char* launcherIdentifier = "app.keyvane.KeyvaneLauncher";
// Posted by the application, with its identifier as the object, to tell the login helper to quit.
inline constexpr const char* killLauncherNotification = "killLauncher";

// The short version text ("1.2.0"): the project version the program was built from.
std::string shortVersion();

}  // namespace bundle
}  // namespace keyvane
