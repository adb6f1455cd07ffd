#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keyvane::permanent {

// One key of the permanent keymap: what its scancode gives, and what it gave below the file (the
// kernel's default, or another hwdb file's), which removing the file puts back: udev only ever
// sets keys, so a key the file no longer names keeps its code until the keyboard is replugged.
struct PermanentKey {
    std::uint32_t scancode = 0;
    std::uint32_t keycode = 0;
    std::uint32_t original = 0;
    bool operator==(const PermanentKey&) const = default;
};

// The keys of the keyboards one match line selects, in scancode order.
struct HwdbRecord {
    std::string match;
    std::vector<std::string> keyboards;  // the names of the keyboards it was written for
    std::vector<PermanentKey> keys;
    bool operator==(const HwdbRecord&) const = default;
};

struct HwdbFile {
    bool allKeyboards = false;
    std::vector<HwdbRecord> records;
    bool operator==(const HwdbFile&) const = default;

    const HwdbRecord* record(std::string_view match) const;
};

// Match lines as the kernel's devices carry them: udev looks an event device up by its input
// modalias (bus, vendor and product in upper-case hex) and the AT keyboard by the machine's DMI
// data, which every AT keyboard of the machine shares.
std::string inputMatch(unsigned bus, unsigned vendor, unsigned product);
inline constexpr std::string_view atKeyboardMatch = "evdev:atkbd:dmi:*";

// The hwdb property names: udev's keyboard builtin applies the first; the second is Keyvane's own,
// which udev keeps with the device for whoever asks what lies below the permanent keymap.
inline constexpr std::string_view keyProperty = "KEYBOARD_KEY_";
inline constexpr std::string_view originalProperty = "KEYVANE_ORIGINAL_KEY_";

std::string formatHwdbFile(const HwdbFile& file);

// The file as formatHwdbFile wrote it; nothing for a file Keyvane did not write (the first line
// tells), which is left alone, or for one whose lines are not all as written.
std::optional<HwdbFile> parseHwdbFile(std::string_view text);

}  // namespace keyvane::permanent
