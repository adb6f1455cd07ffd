#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/DefaultsKeys.h"
#include "platform/DefaultsValue.h"

namespace keyvane {

// One mapping: "original", "originalId", "remapped", "remappedId" (display name and HID usage of
// the key pressed and of the key it produces). Other keys of a stored record are kept as they are.
using KeyMapping = std::map<std::string, std::string>;

// The mappings of this process, in table order; touched on the main thread only.
extern std::vector<KeyMapping> keyMappings;

// The value of "keyboardId" (and the identifier of the "All keyboards" item) meaning every
// keyboard.
inline constexpr const char* allKeyboardsId = "0x9999";

// Keeps `keyMappings` and the user's choices in the standard user defaults. Every change is
// written through at once; memory changes first.
class MappingStore {
  public:
    // Replaces `keyMappings` with the stored list; any value that is not a list of dictionaries of
    // strings (one odd element is enough) gives the empty list.
    static void loadMappings();
    static void saveMappings();
    static void appendMapping(const KeyMapping& mapping);
    // The caller guarantees 0 <= index < keyMappings.size().
    static void removeMapping(std::size_t index);

    static std::optional<std::string> loadKeyboardId();
    static void saveKeyboardId(const std::string& keyboardId);
    static bool loadApplyAtLogin();
    static void saveApplyAtLogin(bool applyAtLogin);

    // The record that a stored or imported value holds: a dictionary of strings, or nothing.
    static std::optional<KeyMapping> asKeyMapping(const DefaultsValue& value);

    // A record's value under `key`, or "" where it has none (stored records may lack any key).
    static std::string field(const KeyMapping& mapping, const char* key);
    // The index of the last record of the original key `originalId`: the one a key gives, as
    // hidutil installs the list in its order and a key gives one code.
    static std::optional<std::size_t> lastRowOf(const std::string& originalId);

    // The list as one line of text, for the standard output trace.
    static std::string describe(const std::vector<KeyMapping>& mappings);
};

}  // namespace keyvane
