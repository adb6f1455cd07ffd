#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "engine/MappingStore.h"

namespace keyvane {

// One keyboard of `hidutil status` and the entries installed on it, in the list's order.
struct StatusEntry {
    std::uint64_t src = 0;
    std::uint64_t dst = 0;
    std::string state;  // "installed", "permanent", "skipped", "overridden", "unusable"
};
struct StatusKeyboard {
    std::string registryId;
    std::string product;
    std::vector<StatusEntry> entries;
};
// Lines of other kinds, and lines that do not parse, are passed over.
std::vector<StatusKeyboard> parseStatus(const std::string& output);

// What became of one mapping, by the names of the keyboards.
struct MappingState {
    std::vector<std::string> installed;
    std::vector<std::string> permanent;    // udev's hwdb gives the key what the mapping wants
    std::vector<std::string> reinstalled;  // overridden, and installed again
    std::vector<std::string> overridden;   // still overridden after installing again
    std::vector<std::string> skipped;      // no such key
    std::vector<std::string> unusable;
};

// Reads back after every installation, with `hidutil status`, what the kernel does with each
// mapping. Where udev's hwdb or another program changed an installed key since, the list is
// installed once more and read again: at most once per installation, so two programs fighting over
// a key never make a loop.
class MappingStatus {
  public:
    static constexpr const char* statusCommand = "hidutil status";
    static constexpr const char* overriddenState = "overridden";

    // From now on every installation is checked; `changed` runs after each check.
    static void followInstallations(std::function<void()> changed);
    static void check();
    // Every mapping was removed from the system.
    static void cleared();
    // What the last check found for this record; nothing before the first check.
    static std::optional<MappingState> stateOf(const KeyMapping& mapping);
};

}  // namespace keyvane
