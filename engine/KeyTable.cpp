#include "engine/KeyTable.h"

#include <algorithm>
#include <array>
#include <unordered_map>

namespace keyvane {
namespace {

struct Row {
    std::string_view keyId;
    std::string_view usage;
    std::string_view name;
};

// Keyboard keys first (id = macOS virtual key code), then the keys without a virtual key code,
// reached only through the picker, then the picker's separators, whose "usage" is a sort key that
// places each one after the group of keys it closes.
constexpr std::array<Row, 124> rows{{
    {"0", "04", "a"},
    {"1", "16", "s"},
    {"2", "07", "d"},
    {"3", "09", "f"},
    {"4", "0b", "h"},
    {"5", "0a", "g"},
    {"6", "1d", "z"},
    {"7", "1b", "x"},
    {"8", "06", "c"},
    {"9", "19", "v"},
    {"10", "64", "§ Section"},
    {"11", "05", "b"},
    {"12", "14", "q"},
    {"13", "1a", "w"},
    {"14", "08", "e"},
    {"15", "15", "r"},
    {"16", "1c", "y"},
    {"17", "17", "t"},
    {"18", "1e", "1"},
    {"19", "1f", "2"},
    {"20", "20", "3"},
    {"21", "21", "4"},
    {"22", "23", "6"},
    {"23", "22", "5"},
    {"24", "2e", "= Equal"},
    {"25", "26", "9"},
    {"26", "24", "7"},
    {"27", "2d", "- Hypen/Dash"},
    {"28", "25", "8"},
    {"29", "27", "0"},
    {"30", "30", "]"},
    {"31", "12", "o"},
    {"32", "18", "u"},
    {"33", "2f", "["},
    {"34", "0c", "i"},
    {"35", "13", "p"},
    {"36", "28", "Enter"},
    {"37", "0f", "l"},
    {"38", "0d", "j"},
    {"39", "34", "' Quote/Apostrophe"},
    {"40", "0e", "k"},
    {"41", "33", "; Semicolon"},
    {"42", "31", "\\ Backslash"},
    {"43", "36", ", Comma"},
    {"44", "38", "/ Slash"},
    {"45", "11", "n"},
    {"46", "10", "m"},
    {"47", "37", ". Period"},
    {"48", "2b", "Tab"},
    {"49", "2c", "Space"},
    {"50", "35", "` Tilde/Grave"},
    {"51", "2a", "Backspace"},
    {"53", "29", "Escape"},
    {"54", "e7", "Right Command"},
    {"55", "e3", "Command"},
    {"56", "e1", "Shift"},
    {"57", "39", "Caps Lock"},
    {"58", "e2", "Option"},
    {"59", "e0", "Control"},
    {"60", "e5", "Right Shift"},
    {"61", "e6", "Right Option"},
    {"62", "e4", "Right Control"},
    {"65", "63", "Keypad Decimal"},
    {"67", "55", "Keypad Multiply"},
    {"69", "57", "Keypad Plus"},
    {"71", "53", "Keypad Clear"},
    {"75", "54", "Keypad Divide"},
    {"76", "58", "Keypad Enter"},
    {"78", "56", "Keypad Minus"},
    {"82", "62", "Keypad 0"},
    {"83", "59", "Keypad 1"},
    {"84", "5a", "Keypad 2"},
    {"85", "5b", "Keypad 3"},
    {"86", "5c", "Keypad 4"},
    {"87", "5d", "Keypad 5"},
    {"88", "5e", "Keypad 6"},
    {"89", "5f", "Keypad 7"},
    {"91", "60", "Keypad 8"},
    {"92", "61", "Keypad 9"},
    {"96", "3e", "F5"},
    {"97", "3f", "F6"},
    {"98", "40", "F7"},
    {"99", "3c", "F3"},
    {"100", "41", "F8"},
    {"101", "42", "F9"},
    {"103", "44", "F11"},
    {"105", "46", "Print Screen"},
    {"107", "47", "Scroll lock"},
    {"109", "43", "F10"},
    {"111", "45", "F12"},
    {"113", "48", "Pause"},
    {"114", "49", "Insert"},
    {"115", "4a", "Home"},
    {"116", "4b", "Page Up"},
    {"117", "4c", "Delete"},
    {"118", "3d", "F4"},
    {"119", "4d", "End"},
    {"120", "3b", "F2"},
    {"121", "4e", "Page Down"},
    {"122", "3a", "F1"},
    {"123", "50", "Left Arrow"},
    {"124", "4f", "Right Arrow"},
    {"125", "51", "Down Arrow"},
    {"126", "52", "Up Arrow"},
    {"900", "32", "Non-US # and ~"},
    {"905", "64", "Non-US \\ and |"},
    {"906", "65", "Mail Compose"},
    {"908", "7a", "Undo"},
    {"909", "7b", "Cut"},
    {"910", "7c", "Copy"},
    {"911", "7d", "Paste"},
    {"912", "7e", "Find"},
    {"913", "7f", "Mute"},
    {"914", "80", "Volume up"},
    {"915", "81", "Volume down"},
    {"916", "00", "Disable key"},
    {"799", "00a", "----------"},
    {"800", "1da", "----------"},
    {"801", "27a", "----------"},
    {"802", "39a", "----------"},
    {"803", "45a", "----------"},
    {"804", "52a", "----------"},
    {"805", "63a", "----------"},
    {"806", "85a", "----------"},
}};

struct Table {
    std::unordered_map<std::string_view, KeyTable::Entry> byId;
    std::vector<KeyTable::SortedEntry> sorted;

    Table() {
        byId.reserve(rows.size());
        sorted.reserve(rows.size());
        for (const Row& row : rows) {
            byId.emplace(row.keyId, KeyTable::Entry{std::string(row.usage), std::string(row.name)});
            sorted.push_back(
                {std::string(row.keyId), std::string(row.usage), std::string(row.name)});
        }
        // std::string compares by unsigned byte, i.e. by code point for these ASCII texts.
        std::stable_sort(sorted.begin(), sorted.end(),
                         [](const auto& a, const auto& b) { return a.usage < b.usage; });
    }
};

const Table& table() {
    static const Table instance;  // built once, on first use; thread-safe initialisation
    return instance;
}

}  // namespace

const KeyTable::Entry* KeyTable::lookup(std::string_view keyId) {
    const auto& byId = table().byId;
    auto found = byId.find(keyId);
    return found == byId.end() ? nullptr : &found->second;
}

const std::vector<KeyTable::SortedEntry>& KeyTable::sortedEntries() {
    return table().sorted;
}

}  // namespace keyvane
