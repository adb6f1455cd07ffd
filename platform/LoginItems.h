#pragma once

#include <filesystem>
#include <string>

namespace keyvane {

// Login items as XDG autostart entries: the desktop session starts every program that has an entry
// in $XDG_CONFIG_HOME/autostart (~/.config/autostart) when the user logs in.
class LoginItems {
  public:
    // Enabling writes the entry <identifier>.desktop, which starts `executable`; disabling removes
    // it. False when the entry could not be written or removed, with the reason in `error`.
    static bool setEnabled(const std::string& identifier, const std::filesystem::path& executable,
                           bool enabled, std::string& error);

    static std::filesystem::path entryPath(const std::string& identifier);
};

}  // namespace keyvane
