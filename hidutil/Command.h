#pragma once

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "hidutil/Device.h"
#include "hidutil/Installer.h"
#include "hidutil/Output.h"
#include "hidutil/Property.h"

namespace keyvane::hidutil {

inline constexpr int exitSuccess = 0;
inline constexpr int exitFailure = 1;
inline constexpr int exitUsage = 2;
inline constexpr int exitOverridden = 3;  // status: an entry installed gives another code now

// A command line hidutil understands, as read from its arguments (without the program name).
struct CommandLine {
    enum class Action { Help, Set, Get, List, Status };
    Action action = Action::Help;
    std::optional<std::string> set, get, matching;
    bool keyboardsOnly = false;
    bool json = false;
};
std::optional<CommandLine> parseCommandLine(const std::vector<std::string>& args);

// Whether a device is one a --matching text selects.
bool matches(const Matching& matching, const ServiceRow& row);

// What "hidutil ARGS..." does (args without the program name), against the given devices. Without
// a record folder the original keys cannot be remembered, so nothing is changed. Only a benchmark
// leaves out reading the changes back, to weigh what that costs.
int runCommand(const std::vector<std::string>& args, DeviceSource& devices,
               const std::optional<std::filesystem::path>& recordFolder, std::ostream& out,
               std::ostream& err, ReadBack readBack = ReadBack::Yes);

}  // namespace keyvane::hidutil
