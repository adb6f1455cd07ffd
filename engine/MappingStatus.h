#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "engine/MappingStore.h"
#include "keys/HidutilContract.h"

namespace keyvane {

// One keyboard of `hidutil status --json` and the entries installed on it, in the list's order.
struct StatusEntry {
    std::uint64_t src = 0;
    std::uint64_t dst = 0;
    std::string state;  // one of the contract's states
};
struct StatusKeyboard {
    std::uint64_t registryId = 0;
    std::string product;
    std::vector<StatusEntry> entries;
};
// Keys hidutil may add later are passed over, and so are entries that lack one of theirs; a text
// that is no JSON object gives no keyboards.
std::vector<StatusKeyboard> parseStatus(const std::string& json);

// What became of one mapping, by the names of the keyboards.
struct MappingState {
    std::vector<std::string> installed;
    std::vector<std::string> permanent;    // udev's hwdb gives the key what the mapping wants
    std::vector<std::string> reinstalled;  // overridden, and installed again
    std::vector<std::string> overridden;   // still overridden after installing again
    std::vector<std::string> skipped;      // no such key
    std::vector<std::string> unusable;
};

// Reads back after every installation what the kernel does with each mapping: from the status file
// that hidutil leaves after installing, or, where the installation left none, from `hidutil status
// --json`. Where udev's hwdb or another program changed an installed key since, the list is
// installed once more and read again: at most once per installation, so two programs fighting over
// a key never make a loop.
class MappingStatus {
  public:
    static constexpr const char* statusCommand = contract::statusJsonCommand;

    // From now on every installation is checked; `changed` runs after each check.
    static void followInstallations(std::function<void()> changed);
    // Until released, an installation is only noted, and read back once at the release: the start
    // shows its window before it spends a process on reading back.
    static void holdChecks();
    static void releaseChecks();
    static void check();
    // Every mapping was removed from the system.
    static void cleared();
    // What the last check found for this record; nothing before the first check.
    static std::optional<MappingState> stateOf(const KeyMapping& mapping);
};

}  // namespace keyvane
