#pragma once

#include <filesystem>

namespace keyvane {

// $XDG_CONFIG_HOME, or ~/.config when it is unset or empty; read anew at every call.
std::filesystem::path xdgConfigHome();

}  // namespace keyvane
