#include "platform/XdgDirs.h"

#include <cstdlib>

namespace keyvane {

std::filesystem::path xdgConfigHome() {
    const char* configHome = std::getenv("XDG_CONFIG_HOME");
    // A relative path there is invalid, and to be ignored, as the XDG rule says.
    if (configHome && configHome[0] == '/')
        return configHome;
    const char* home = std::getenv("HOME");
    return std::filesystem::path(home ? home : "") / ".config";
}

}  // namespace keyvane
