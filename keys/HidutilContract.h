#pragma once

#include <filesystem>
#include <optional>

#include "common/XdgDirs.h"

// What hidutil and the application must agree on, written once: the command lines the application
// runs, the words hidutil answers with and the keys of its JSON, and where hidutil leaves what
// became of an installation. hidutil prints from these and the application reads with them, so
// that the two can never drift apart. Character arrays, so that either side can take them as a
// C string or a string_view.
namespace keyvane::contract {

inline constexpr char program[] = "hidutil";

// Command words.
inline constexpr char commandProperty[] = "property";
inline constexpr char commandList[] = "list";
inline constexpr char commandStatus[] = "status";
inline constexpr char optionSet[] = "--set";
inline constexpr char optionGet[] = "--get";
inline constexpr char optionJson[] = "--json";
inline constexpr char optionMatching[] = "--matching";

// Keys of property texts and of the status JSON.
inline constexpr char userKeyMapping[] = "UserKeyMapping";
inline constexpr char mappingSrc[] = "HIDKeyboardModifierMappingSrc";
inline constexpr char mappingDst[] = "HIDKeyboardModifierMappingDst";
inline constexpr char keyProductId[] = "ProductID";
inline constexpr char keyProduct[] = "Product";
inline constexpr char keyTransport[] = "Transport";
inline constexpr char keyKeyboards[] = "Keyboards";
inline constexpr char keyRegistryId[] = "RegistryID";
inline constexpr char keyOriginals[] = "Originals";
inline constexpr char keyState[] = "State";
inline constexpr char keyKeys[] = "Keys";
inline constexpr char keyScancode[] = "Scancode";
inline constexpr char keyKey[] = "Key";
inline constexpr char keyLayer[] = "Layer";
inline constexpr char originalsUnknown[] = "unknown";
// A device that may be a keyboard and could not be opened (or the device folder itself), and why:
// the cause in a word, the system's error in words.
inline constexpr char keyUnopened[] = "Unopened";
inline constexpr char keyNode[] = "Node";
inline constexpr char keyCause[] = "Cause";
inline constexpr char keyError[] = "Error";
inline constexpr char causeNoAccess[] = "access";  // no permission: the group input would give it
inline constexpr char causeOther[] = "other";

// What became of one entry of the list installed on a keyboard.
inline constexpr char stateInstalled[] = "installed";
inline constexpr char statePermanent[] = "permanent";
inline constexpr char stateSkipped[] = "skipped";
inline constexpr char stateOverridden[] = "overridden";
inline constexpr char stateUnusable[] = "unusable";

// Whose code a key gives.
inline constexpr char layerDefault[] = "default";
inline constexpr char layerHwdb[] = "hwdb";
inline constexpr char layerKeyvane[] = "keyvane";
inline constexpr char layerOther[] = "other";

// The command lines the application hands to bash. The templates carry the entries where the
// placeholder is; an entry is entryHead, the source's two digits, entryMiddle, the destination's,
// entryTail. Usages on the keyboard page are 0x7000000 followed by the key's id.
inline constexpr char clearingProperty[] = R"({"UserKeyMapping" : []})";
inline constexpr char clearingCommand[] = R"(hidutil property --set '{"UserKeyMapping" : []}')";
inline constexpr char allKeyboardsTemplate[] =
    R"(hidutil property --set '{"UserKeyMapping" : [$HID]}')";
inline constexpr char oneKeyboardTemplateHead[] =
    R"(hidutil property --set '{"UserKeyMapping" : [$HID]}' --matching '{"ProductID": )";
inline constexpr char oneKeyboardTemplateTail[] = "}'";
inline constexpr char placeholder[] = "$HID";
inline constexpr char propertyTemplate[] = R"({"UserKeyMapping" : [$HID]})";
inline constexpr char matchingHead[] = R"({"ProductID": )";
inline constexpr char matchingTail[] = "}";
inline constexpr char keyboardUsagePrefix[] = "7000000";
inline constexpr char entryHead[] = R"({"HIDKeyboardModifierMappingSrc" : 0x7000000)";
inline constexpr char entryMiddle[] = R"(, "HIDKeyboardModifierMappingDst" : 0x7000000)";
inline constexpr char entryTail[] = "},";
inline constexpr char statusJsonCommand[] = "hidutil status --json";
inline constexpr char listKeyboardsCommand[] = "hidutil list -m 'keyboard'";

// After every `property --set` that worked, the clearing included, hidutil leaves the status JSON
// of the keyboards it set (what `status --json` prints for them) in this file, so that the
// application learns what became of its list without starting `hidutil status`. It lies in the
// user's own state folder, beside the records hidutil keeps there when it works in-process: a file
// the user can always read. Where the keymap service does the work, its records are root's in
// /run/keyvane/<uid>, which is no place for the user's program to read from or for root to write
// into a folder the user owns, so hidutil, as the service's client, writes the status the service
// answered here itself.
inline constexpr char stateFolderVariable[] = "XDG_STATE_HOME";
inline constexpr char homeStateFolder[] = ".local/state";
inline constexpr char stateFolderName[] = "keyvane";
inline constexpr char statusFileName[] = "status.json";

// $XDG_STATE_HOME/keyvane, else ~/.local/state/keyvane; nothing without either.
inline std::optional<std::filesystem::path> stateFolder() {
    const auto state = xdgFolder(stateFolderVariable, homeStateFolder);
    return state ? std::optional(*state / stateFolderName) : std::nullopt;
}

inline std::optional<std::filesystem::path> statusFile() {
    const auto folder = stateFolder();
    return folder ? std::optional(*folder / statusFileName) : std::nullopt;
}

}  // namespace keyvane::contract
