#pragma once

#include <optional>
#include <ostream>

#include "hidutil/Command.h"

namespace keyvane::hidutil {

// Hands a command to the keymap service on the system bus, where it is installed, and prints its
// answer as the command itself would: the same output, notes and exit status. Nothing when there
// is no service to hand it to (no system bus, or the service is not installed); the command then
// runs in this process.
std::optional<int> runThroughService(const CommandLine& command, std::ostream& out,
                                     std::ostream& err);

}  // namespace keyvane::hidutil
