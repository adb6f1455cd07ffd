#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace keyvane {

// Every key the user can capture, pick, store and install. A key id is the decimal text of a macOS
// virtual key code (so a captured key event finds its entry directly), or a pseudo id from 799 up
// for keys that no key event carries and for the picker's separators.
class KeyTable {
  public:
    struct Entry {
        std::string usage;  // HID keyboard usage (page 7), two lower-case hex digits
        std::string name;   // display name
    };
    struct SortedEntry {
        std::string keyId;
        std::string usage;
        std::string name;
    };

    // The entry of a key id, or nullptr. Ids are exact: "010" is not "10".
    static const Entry* lookup(std::string_view keyId);
    // All entries in picker order: ascending by usage text, compared by code point.
    static const std::vector<SortedEntry>& sortedEntries();

    static constexpr std::string_view separatorName = "----------";
    static constexpr std::string_view disableKeyName = "Disable key";
};

}  // namespace keyvane
