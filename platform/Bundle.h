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

// hidutil is installed beside keyvane. Its folder goes at the end of PATH, so that a hidutil found
// earlier (a test double, or one the user prefers) still wins. Needs the application object.
void appendProgramFolderToPath();

// Where an installation puts the permanent keymap's helper, from keyvane's own folder: the one path
// its polkit action lets pkexec run. Needs the application object.
std::string permanentHelperPath();

}  // namespace bundle
}  // namespace keyvane
