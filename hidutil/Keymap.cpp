#include "hidutil/Keymap.h"

#include <linux/input-event-codes.h>

#include <algorithm>

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

// Whether the record on disk already holds the original of every scancode of wanted.
bool covers(const std::optional<DeviceRecord>& record, const DeviceRecord& wanted) {
    return record &&
           std::all_of(wanted.originals.begin(), wanted.originals.end(), [&](const auto& original) {
               return record->originals.contains(original.first);
           });
}

}  // namespace

// A boot keyboard lists its modifiers twice, in the modifier bits and in the key array; a change by
// scancode reaches the first, and so does reading one.
Keymap toKeymap(const std::vector<KeymapEntry>& entries) {
    Keymap keymap;
    for (const KeymapEntry& entry : entries)
        keymap.emplace(entry.scancode, entry.keycode);
    return keymap;
}

bool isHidKeymap(const Keymap& keymap) {
    return std::any_of(keymap.begin(), keymap.end(),
                       [](const auto& entry) { return onKeyboardPage(entry.first); });
}

Keymap originalKeymap(const Keymap& current, const DeviceRecord* record) {
    Keymap original = current;
    if (record)
        for (const auto& [scancode, keycode] : record->originals)
            if (auto it = original.find(scancode); it != original.end())
                it->second = keycode;
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
    return std::all_of(std::begin(letters), std::end(letters),
                       [&](int letter) { return present[letter]; });
}

MappedKeymap mappedKeymap(const Keymap& original, bool hid, const std::vector<Mapping>& mappings) {
    MappedKeymap mapped{original, {}, {}, {}};
    for (const Mapping& mapping : mappings) {
        const std::uint32_t destination =
            mapping.dstUsage() == 0 ? 0 : keyCodeOf(mapping.dstUsage());
        bool found = false;
        const auto assign = [&](std::uint32_t scancode) {
            mapped.keymap[scancode] = destination;
            mapped.usageOf[scancode] = mapping.srcUsage();
            mapped.scancodesOf[mapping.srcUsage()].push_back(scancode);
            found = true;
        };
        if (hid) {
            if (original.contains(hidKeyboardPage | mapping.srcUsage()))
                assign(hidKeyboardPage | mapping.srcUsage());
        } else {
            const std::uint32_t source = keyCodeOf(mapping.srcUsage());
            for (const auto& [scancode, keycode] : original)
                if (keycode == source)
                    assign(scancode);
        }
        if (!found && std::find(mapped.missingUsages.begin(), mapped.missingUsages.end(),
                                mapping.srcUsage()) == mapped.missingUsages.end())
            mapped.missingUsages.push_back(mapping.srcUsage());
    }
    return mapped;
}

InstallPlan planInstall(const Keymap& current, const std::optional<DeviceRecord>& record,
                        const std::vector<Mapping>& mappings, const std::vector<Mapping>& usable) {
    const Keymap original = originalKeymap(current, record ? &*record : nullptr);
    const MappedKeymap wanted = mappedKeymap(original, isHidKeymap(current), usable);
    InstallPlan plan;
    plan.missingUsages = wanted.missingUsages;
    plan.after.mappings = mappings;
    plan.after.skipped.insert(wanted.missingUsages.begin(), wanted.missingUsages.end());
    for (const auto& [scancode, keycode] : wanted.keymap)
        if (keycode != original.at(scancode))
            plan.after.originals[scancode] = original.at(scancode);

    // Until every change is made, the originals of the keys being put back count as well.
    plan.during = plan.after;
    for (const auto& [scancode, keycode] : current) {
        const std::uint32_t target = wanted.keymap.at(scancode);
        if (keycode == target)
            continue;
        const auto usage = wanted.usageOf.find(scancode);
        plan.changes.push_back(
            {scancode, target, usage == wanted.usageOf.end() ? 0u : usage->second});
        plan.during.originals.emplace(scancode, original.at(scancode));
    }
    plan.writeDuring = !plan.changes.empty() && !covers(record, plan.during);
    const DeviceRecord onDisk = plan.writeDuring ? plan.during : record.value_or(DeviceRecord{});
    plan.writeAfter = plan.after != onDisk;
    return plan;
}

}  // namespace keyvane::hidutil
