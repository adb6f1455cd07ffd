#pragma once

#include <filesystem>
#include <optional>

namespace keyvane {

// An XDG base folder: $variable when it holds an absolute path, else $HOME/belowHome; nothing when
// HOME is not absolute either. A relative path in either is invalid and ignored, as the XDG rule
// says. Read anew at every call.
std::optional<std::filesystem::path> xdgFolder(const char* variable, const char* belowHome);

// $XDG_CONFIG_HOME, else ~/.config; a relative .config without a home.
std::filesystem::path xdgConfigHome();

}  // namespace keyvane
