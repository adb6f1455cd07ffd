#include "platform/XdgDirs.h"

#include <cstdlib>

namespace keyvane {

std::filesystem::path xdgConfigHome() {
    const char* configHome = std::getenv("XDG_CONFIG_HOME");
    if (configHome && *configHome)
        return configHome;
    const char* home = std::getenv("HOME");
    return std::filesystem::path(home ? home : "") / ".config";
}

}  // namespace keyvane
