#pragma once

#include <QtGlobal>
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
    std::uint64_t productId = 0;
    std::string product;
    std::vector<StatusEntry> entries;
};
// A device that may be a keyboard and that hidutil could not open, and why.
struct UnopenedDevice {
    std::string node;
    bool noAccess = false;
    std::string error;
};
struct StatusReading {
    bool read = false;  // the text was a status object
    std::vector<StatusKeyboard> keyboards;
    std::vector<UnopenedDevice> unopened;
};
// Keys hidutil may add later are passed over, and so are entries that lack one of theirs; a text
// that is no JSON object gives no keyboards.
StatusReading parseStatus(const std::string& json);

// What became of one mapping, by the names of the keyboards.
struct MappingState {
    std::vector<std::string> installed;
    std::vector<std::string> permanent;    // udev's hwdb gives the key what the mapping wants
    std::vector<std::string> reinstalled;  // overridden, and installed again
    std::vector<std::string> overridden;   // still overridden after installing again
    std::vector<std::string> skipped;      // no such key
    std::vector<std::string> unusable;
    // A key gives one code: a later row that maps the same key takes it (the row's number, from 1).
    std::optional<std::size_t> replacedBy;

    // The key gives the new key on a keyboard, and another code on none.
    bool tookEffect() const;
};

// Reads back after every installation what the kernel does with each mapping: from the status file
// that hidutil leaves after installing, or, where the installation left none, from `hidutil status
// --json`. Where udev's hwdb or another program changed an installed key since, the list is
// installed once more and read again: at most once per installation, so two programs fighting over
// a key never make a loop.
class MappingStatus {
  public:
    static constexpr const char* statusCommand = contract::statusJsonCommand;

    // What the status column says of a mapping. %1: keyboards' names, or a number; %2: a number.
    static constexpr const char* unusableText =
        QT_TRANSLATE_NOOP("MappingStatus", "Cannot be installed");
    static constexpr const char* overriddenText =
        QT_TRANSLATE_NOOP("MappingStatus", "Overridden on %1, even after installing again");
    static constexpr const char* reinstalledText =
        QT_TRANSLATE_NOOP("MappingStatus", "Overridden on %1, installed again");
    static constexpr const char* installedOnSomeText =
        QT_TRANSLATE_NOOP("MappingStatus", "Installed on %1 of %2 keyboards");
    static constexpr const char* installedOnOneText =
        QT_TRANSLATE_NOOP("MappingStatus", "Installed on 1 keyboard");
    static constexpr const char* installedOnManyText =
        QT_TRANSLATE_NOOP("MappingStatus", "Installed on %1 keyboards");
    static constexpr const char* permanentText = QT_TRANSLATE_NOOP("MappingStatus", "Permanent");
    static constexpr const char* skippedText =
        QT_TRANSLATE_NOOP("MappingStatus", "No keyboard has this key");
    static constexpr const char* notInstalledText =
        QT_TRANSLATE_NOOP("MappingStatus", "Not installed");
    static constexpr const char* replacedText =
        QT_TRANSLATE_NOOP("MappingStatus", "Replaced by row %1");

    // Why no installation can work, and what to do. %1: a device, %2: the system's words for why
    // it could not be opened, or %1: a product id.
    static constexpr const char* noAccessText = QT_TRANSLATE_NOOP(
        "MappingStatus",
        "Keyvane has no access to your keyboards (%1: %2), so it cannot install your mappings. "
        "Install the Keyvane package: its keymap service changes keymaps for you, with no group. "
        "Without it, the group input gives access (keyvane-grant-input-access --grant, then log "
        "out and in), but it also lets every program you run read your keys.");
    static constexpr const char* cannotOpenText = QT_TRANSLATE_NOOP(
        "MappingStatus",
        "Keyvane cannot open %1 (%2), which may be a keyboard, so it cannot install your "
        "mappings. Unplug that device and plug it in again, or restart.");
    static constexpr const char* noKeyboardText = QT_TRANSLATE_NOOP(
        "MappingStatus",
        "No keyboard is connected, so no mapping is installed. Plug one in: Keyvane installs "
        "your mappings on it at once.");
    static constexpr const char* keyboardAbsentText = QT_TRANSLATE_NOOP(
        "MappingStatus",
        "The keyboard chosen in Apply to (product id %1) is not connected, so no mapping is "
        "installed. Plug it in, or choose All keyboards.");

    // From now on every installation is checked; `changed` runs after each check.
    static void followInstallations(std::function<void()> changed);
    // Until released, an installation is only noted, and read back once at the release: the start
    // shows its window before it spends a process on reading back.
    static void holdChecks();
    static void releaseChecks();
    static void check();
    // The same for a command whose standard output is its answer: nothing traced, and the list
    // installed again, where it must be, without the reports and alerts of the window's.
    static void checkSilently();
    // Every mapping was removed from the system.
    static void cleared();
    // What the last check found for this record; nothing before the first check.
    static std::optional<MappingState> stateOf(const KeyMapping& mapping);
    // The same for row `row` of `keyMappings`, which a later row may replace.
    static std::optional<MappingState> stateOfRow(std::size_t row);
    // The keyboards of the last reading.
    static std::vector<StatusKeyboard> keyboards();
    // The status column's words for it.
    static std::string describe(const std::optional<MappingState>& state);
    // Why no installation can work now, as the last reading tells, with what to do: no access to
    // the keyboards, none connected, or not the chosen one. Nothing when it knows of no reason.
    static std::optional<std::string> obstacle();
    // From a clearing until the next installation has been read back, none of the list is
    // installed.
    static bool nothingInstalled();
};

}  // namespace keyvane
