#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "hidutil/Device.h"

namespace keyvane::hidutil {

inline constexpr int exitSuccess = 0;
inline constexpr int exitFailure = 1;
inline constexpr int exitUsage = 2;

// What "hidutil ARGS..." does (args without the program name), against the given devices. Without
// a record folder the original keys cannot be remembered, so nothing is changed.
int runCommand(const std::vector<std::string>& args, DeviceSource& devices,
               const std::optional<std::filesystem::path>& recordFolder, std::ostream& out,
               std::ostream& err);

}  // namespace keyvane::hidutil
