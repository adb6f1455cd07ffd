#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <system_error>
#include <vector>

#include "hidutil/Device.h"
#include "hidutil/Property.h"
#include "hidutil/RecordStore.h"

namespace keyvane::hidutil {

using Keymap = std::map<std::uint32_t, std::uint32_t>;  // scancode -> key code

// A HID keyboard's scancodes are its usages (0x70000 | usage on the keyboard page); other
// keyboards (the AT keyboard of most laptops) number their scancodes their own way.
bool isHidKeymap(const std::vector<KeymapEntry>& keymap);

// The keymap as it was before hidutil changed anything: the remembered originals over the current
// codes; without a record, a HID keyboard's keyboard-page scancodes have the kernel's defaults.
Keymap originalKeymap(const std::vector<KeymapEntry>& current, const DeviceRecord* record);

// A keyboard is a device whose original keymap has every letter key, so that remapping letters
// never hides a keyboard.
bool isKeyboard(const Keymap& original);

// The keymap that installs mappings over the originals: on a HID keyboard the source usage's
// scancode, on others every scancode whose original code is the source's, gets the destination's
// code (0, no key, for usage 0). A later mapping of the same source wins.
Keymap mappedKeymap(const Keymap& original, bool hid, const std::vector<Mapping>& mappings);

struct InstallFailure {
    enum class Step { None, ReadKeymap, Remember, Change };
    Step step = Step::None;
    std::error_code error;
    explicit operator bool() const { return step != Step::None; }
};

// Restores what hidutil changed on the device before, then installs mappings. The originals of
// everything that is or may become changed are on disk before the first key changes, so an
// interrupted run is undone by the next one.
InstallFailure installMappings(KeyDevice& device, const std::vector<Mapping>& mappings,
                               const RecordStore& store);

}  // namespace keyvane::hidutil
