#include "hidutil/Keymap.h"

#include <linux/input-event-codes.h>

#include "hidutil/HidKeyCodes.h"

namespace keyvane::hidutil {
namespace {

constexpr std::uint32_t hidKeyboardPage = 0x70000;

bool onKeyboardPage(std::uint32_t scancode) {
    return (scancode & 0xffff0000u) == hidKeyboardPage;
}

std::uint32_t keyCodeOf(unsigned usage) {
    return static_cast<std::uint32_t>(linuxKeyCodeForUsage(usage));
}

}  // namespace

bool isHidKeymap(const std::vector<KeymapEntry>& keymap) {
    for (const KeymapEntry& entry : keymap)
        if (onKeyboardPage(entry.scancode))
            return true;
    return false;
}

Keymap originalKeymap(const std::vector<KeymapEntry>& current, const DeviceRecord* record) {
    Keymap original;
    for (const KeymapEntry& entry : current)
        original[entry.scancode] = entry.keycode;
    if (record) {
        for (const auto& [scancode, keycode] : record->originals)
            if (auto it = original.find(scancode); it != original.end())
                it->second = keycode;
    } else if (isHidKeymap(current)) {
        for (auto& [scancode, keycode] : original) {
            const unsigned usage = scancode & 0xffffu;
            if (onKeyboardPage(scancode) && usage <= lastKeyboardUsage)
                keycode = keyCodeOf(usage);
        }
    }
    return original;
}

bool isKeyboard(const Keymap& original) {
    static constexpr int letters[] = {KEY_A, KEY_B, KEY_C, KEY_D, KEY_E, KEY_F, KEY_G, KEY_H, KEY_I,
                                      KEY_J, KEY_K, KEY_L, KEY_M, KEY_N, KEY_O, KEY_P, KEY_Q, KEY_R,
                                      KEY_S, KEY_T, KEY_U, KEY_V, KEY_W, KEY_X, KEY_Y, KEY_Z};
    bool present[KEY_MAX + 1] = {};
    for (const auto& [scancode, keycode] : original)
        if (keycode <= KEY_MAX)
            present[keycode] = true;
    for (int letter : letters)
        if (!present[letter])
            return false;
    return true;
}

Keymap mappedKeymap(const Keymap& original, bool hid, const std::vector<Mapping>& mappings) {
    Keymap mapped = original;
    for (const Mapping& mapping : mappings) {
        const std::uint32_t destination =
            mapping.dstUsage() == 0 ? 0 : keyCodeOf(mapping.dstUsage());
        if (hid) {
            if (auto it = mapped.find(hidKeyboardPage | mapping.srcUsage()); it != mapped.end())
                it->second = destination;
            continue;
        }
        const std::uint32_t source = keyCodeOf(mapping.srcUsage());
        for (const auto& [scancode, keycode] : original)
            if (keycode == source)
                mapped[scancode] = destination;
    }
    return mapped;
}

InstallFailure installMappings(KeyDevice& device, const std::vector<Mapping>& mappings,
                               const RecordStore& store) {
    using Step = InstallFailure::Step;
    std::vector<KeymapEntry> current;
    if (auto error = device.readKeymap(current))
        return {Step::ReadKeymap, error};
    const auto record = store.load(device.info());
    const Keymap original = originalKeymap(current, record ? &*record : nullptr);
    const Keymap wanted = mappedKeymap(original, isHidKeymap(current), mappings);

    DeviceRecord after;
    after.mappings = mappings;
    for (const auto& [scancode, keycode] : wanted)
        if (keycode != original.at(scancode))
            after.originals[scancode] = original.at(scancode);

    // Until every change is made, remember also what is about to be put back.
    DeviceRecord during = after;
    if (record)
        during.originals.insert(record->originals.begin(), record->originals.end());
    std::vector<KeymapEntry> changes;
    for (const KeymapEntry& entry : current) {
        const std::uint32_t target = wanted.at(entry.scancode);
        if (entry.keycode != target) {
            changes.push_back({entry.scancode, target});
            during.originals.emplace(entry.scancode, original.at(entry.scancode));
        }
    }
    if (changes.empty() && record.value_or(DeviceRecord{}) == after)
        return {};
    if (!changes.empty() && during != after)
        if (auto error = store.save(device.info(), during))
            return {Step::Remember, error};
    for (const KeymapEntry& change : changes)
        if (auto error = device.setKeycode(change.scancode, change.keycode))
            return {Step::Change, error};
    if (auto error = store.save(device.info(), after))
        return {Step::Remember, error};
    return {};
}

}  // namespace keyvane::hidutil
