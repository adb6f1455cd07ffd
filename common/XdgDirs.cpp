#include "common/XdgDirs.h"

#include <cstdlib>

namespace keyvane {
namespace {

std::optional<std::filesystem::path> absolute(const char* variable) {
    const char* value = std::getenv(variable);
    if (!value || value[0] != '/')
        return std::nullopt;
    return value;
}

}  // namespace

std::optional<std::filesystem::path> xdgFolder(const char* variable, const char* belowHome) {
    if (auto folder = absolute(variable))
        return folder;
    if (auto home = absolute("HOME"))
        return *home / belowHome;
    return std::nullopt;
}

std::filesystem::path xdgConfigHome() {
    return xdgFolder("XDG_CONFIG_HOME", ".config").value_or(".config");
}

}  // namespace keyvane
