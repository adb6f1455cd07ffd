#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "hidutil/Device.h"
#include "hidutil/Property.h"
#include "hidutil/RecordStore.h"

namespace keyvane::hidutil {

Keymap toKeymap(const std::vector<KeymapEntry>& entries);

// A HID keyboard's scancodes are its usages (0x70000 | usage on the keyboard page); other
// keyboards (the AT keyboard of most laptops) number their scancodes their own way.
bool isHidKeymap(const Keymap& keymap);

// The keymap as it was before hidutil changed anything: the remembered originals over the current
// codes. Whatever hidutil never changed is original as it stands, remapped by udev's hwdb or
// another tool or not.
Keymap originalKeymap(const Keymap& current, const DeviceRecord* record);

// The keymap below udev's hwdb, the kernel's own as far as it can be told: a key of Keyvane's
// permanent keymap has the code that keymap found on it; another key hwdb sets on the HID keyboard
// page has the kernel's code for its usage; every other key its original.
Keymap defaultKeymap(const Keymap& original, const DeviceInfo& info);

// Whether a device is a keyboard, never from what its keys produce now, which any program can
// change: where udev calls it one; a HID device by whether it has the scancodes of every letter
// usage; the AT keyboard by its bus; any other by whether its original keymap produces every
// letter.
bool isKeyboard(const DeviceInfo& info, const Keymap& current, const Keymap& original);

// The scancodes of the record that give neither their original code nor one hidutil set: someone
// changed them since (udev's hwdb again, another program), and what they give now is theirs.
std::vector<std::uint32_t> changedSince(const Keymap& current, const DeviceRecord& record);

// The keymap that installs mappings over the originals: on a HID keyboard the source usage's
// scancode, on others every scancode whose default code is the source's, gets the destination's
// code (0, no key, for usage 0). A permanent keymap that moved Caps Lock thus leaves the key a
// mapping of Caps Lock means where it was. A later mapping of the same source wins. The source
// usages the keyboard has no key for are left out.
struct MappedKeymap {
    Keymap keymap;
    std::map<std::uint32_t, unsigned> usageOf;  // scancode -> the source usage mapped onto it
    std::map<unsigned, std::vector<std::uint32_t>> scancodesOf;  // source usage -> its scancodes
    std::vector<unsigned> missingUsages;
};
MappedKeymap mappedKeymap(const Keymap& original, const Keymap& defaults,
                          const std::vector<Mapping>& mappings);

// What installing a list on one keyboard takes. The record "during" holds every scancode that is
// changed or may still be changed from an earlier run, with the codes it may be left with, and the
// list; it must be on disk before the first change. "after" holds those that differ from their
// originals once all is done. Scancodes changed by someone else since are no longer hidutil's: they
// are left out of both, and their codes now count as their originals.
struct KeymapChange {
    std::uint32_t scancode = 0;
    std::uint32_t keycode = 0;
    unsigned usage = 0;  // the source usage that asked for it; 0 when a key is put back
};
struct InstallPlan {
    std::vector<KeymapChange> changes;
    std::vector<unsigned> missingUsages;
    std::vector<std::uint32_t> changedSince;
    DeviceRecord during;
    DeviceRecord after;
    bool writeDuring = false;  // the record on disk does not hold what the changes need
    bool durable = false;      // ... nor the original of every key that changes
    bool writeAfter = false;   // what is on disk once the changes begin differs from "after"
};
// mappings is the list as given, kept in the record; usable the entries that can be installed.
InstallPlan planInstall(const Keymap& current, const std::optional<DeviceRecord>& record,
                        const DeviceInfo& info, const std::vector<Mapping>& mappings,
                        const std::vector<Mapping>& usable);

}  // namespace keyvane::hidutil
