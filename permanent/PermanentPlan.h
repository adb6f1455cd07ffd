#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hidutil/Device.h"
#include "hidutil/Keymap.h"
#include "hidutil/Property.h"
#include "permanent/HwdbFile.h"

namespace keyvane::permanent {

// A keyboard as the helper finds it: what udev matches it by, and its keys now.
struct PermanentKeyboard {
    hidutil::DeviceInfo info;
    hidutil::Keymap current;
};

// The match line udev finds the keyboard by.
std::string matchOf(const hidutil::DeviceInfo& info);

// The file that makes `usable` permanent on the keyboards: on a HID keyboard the source usage's
// scancode, on others every scancode whose code below the permanent keymap is the source's, gives
// the destination's code. Below the permanent keymap is the code now, or, for a key the previous
// file set, what that file kept as its original. Keyboards of one match share a record.
HwdbFile permanentFile(const std::vector<PermanentKeyboard>& keyboards,
                       const std::vector<hidutil::Mapping>& usable,
                       const std::optional<HwdbFile>& previous, bool allKeyboards);

// What going from one permanent keymap to the next takes on one keyboard: the keys udev will not
// change back by itself (the previous file set them, the next does not), still as that file left
// them, get their originals; and the codes the keyboard's keys must give once udev has applied the
// next file.
struct KeyboardTransition {
    std::vector<hidutil::KeymapEntry> resets;
    hidutil::Keymap expected;
    bool touched() const { return !resets.empty() || !expected.empty(); }
};
KeyboardTransition transition(const PermanentKeyboard& keyboard,
                              const std::optional<HwdbFile>& from,
                              const std::optional<HwdbFile>& to);

}  // namespace keyvane::permanent
