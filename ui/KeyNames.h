#pragma once

#include <QString>
#include <string_view>

class QKeyEvent;

namespace keyvane {

// What a PC keyboard and the desktop call the keys that the key table names as on a Mac; empty for
// the others. The kernel knows them as KEY_LEFTMETA, KEY_RIGHTMETA, KEY_LEFTALT, KEY_RIGHTALT,
// KEY_NUMLOCK, KEY_102ND and KEY_COMPOSE.
constexpr std::string_view pcKeyName(std::string_view name) {
    constexpr std::string_view isoKey = "ISO key <> beside left Shift";
    constexpr struct {
        std::string_view name;
        std::string_view pcName;
    } pcNames[] = {
        {"Command", "Super"},        {"Right Command", "Right Super"}, {"Option", "Alt"},
        {"Right Option", "AltGr"},   {"Keypad Clear", "Num Lock"},     {"§ Section", isoKey},
        {"Non-US \\ and |", isoKey}, {"Mail Compose", "Menu"},
    };
    for (const auto& key : pcNames)
        if (key.name == name)
            return key.pcName;
    return {};
}

// The character that the user's own layout gives a pressed key, as printed on its cap ("Y", "ß"),
// or empty for a key that types none. A modifier held with it may have changed it ("!" for 1), so
// only a letter, whose cap is the same either way, is taken then.
QString layoutCharacter(const QKeyEvent& event);

// A key as the windows show it: the key table's name, then its PC name where that differs
// ("Command (Super)"), then the character the user's layout gives it where that differs
// ("z — Y on your keyboard"). What is stored stays the key table's name.
QString shownKeyName(std::string_view name, const QString& layoutCharacter = {});

}  // namespace keyvane
