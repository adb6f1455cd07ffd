#include "hidutil/Keymap.h"

#include <linux/input-event-codes.h>

#include <algorithm>

#include "keys/HidKeyCodes.h"
#include "keys/KeyCapabilities.h"

namespace keyvane::hidutil {
namespace {

constexpr std::uint32_t hidKeyboardPage = 0x70000;

bool onKeyboardPage(std::uint32_t scancode) {
    return (scancode & 0xffff0000u) == hidKeyboardPage;
}

std::uint32_t keyCodeOf(unsigned usage) {
    return static_cast<std::uint32_t>(linuxKeyCodeForUsage(usage));
}

// The keyboard page's letter usages, a (4) to z (0x1d).
constexpr unsigned firstLetterUsage = 0x04, lastLetterUsage = 0x1d;

// Whether the record on disk already holds every scancode of wanted, with its original and every
// code it may be left with. Records of earlier formats kept no codes, and restore whatever is
// there.
bool covers(const std::optional<DeviceRecord>& record, const DeviceRecord& wanted) {
    return record && std::all_of(wanted.keys.begin(), wanted.keys.end(), [&](const auto& entry) {
               const auto kept = record->keys.find(entry.first);
               return kept != record->keys.end() &&
                      kept->second.original == entry.second.original &&
                      (kept->second.set.empty() ||
                       std::includes(kept->second.set.begin(), kept->second.set.end(),
                                     entry.second.set.begin(), entry.second.set.end()));
           });
}

bool producesEveryLetter(const Keymap& keymap) {
    bool present[KEY_MAX + 1] = {};
    for (const auto& [scancode, keycode] : keymap)
        if (keycode <= KEY_MAX)
            present[keycode] = true;
    return std::all_of(std::begin(letterKeys), std::end(letterKeys),
                       [&](int letter) { return present[letter]; });
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
        for (const auto& [scancode, key] : record->keys)
            if (auto it = original.find(scancode); it != original.end())
                it->second = key.original;
    return original;
}

Keymap defaultKeymap(const Keymap& original, const DeviceInfo& info) {
    Keymap defaults = original;
    for (auto& [scancode, keycode] : defaults) {
        if (const auto found = info.permanentOriginals.find(scancode);
            found != info.permanentOriginals.end())
            keycode = found->second;
        else if (onKeyboardPage(scancode) && info.hwdbKeys.contains(scancode))
            keycode = keyCodeOf(scancode & 0xffffu);
    }
    return defaults;
}

// udev's verdict only ever adds a keyboard: it counts the codes the keys give when its rules ran,
// so a keyboard whose hwdb moved Q away is none to udev.
bool isKeyboard(const DeviceInfo& info, const Keymap& current, const Keymap& original) {
    if (info.udevKeyboard.value_or(false))
        return true;
    if (!isHidKeymap(current))
        // Of the i8042 controller's devices only the AT keyboard has a keymap.
        return info.bus == bus::i8042 || producesEveryLetter(original);
    for (unsigned usage = firstLetterUsage; usage <= lastLetterUsage; ++usage)
        if (!current.contains(hidKeyboardPage | usage))
            return false;
    return true;
}

std::vector<std::uint32_t> changedSince(const Keymap& current, const DeviceRecord& record) {
    std::vector<std::uint32_t> changed;
    for (const auto& [scancode, key] : record.keys) {
        const auto now = current.find(scancode);
        if (now != current.end() && !key.set.empty() && now->second != key.original &&
            !key.set.contains(now->second))
            changed.push_back(scancode);
    }
    return changed;
}

MappedKeymap mappedKeymap(const Keymap& original, const Keymap& defaults,
                          const std::vector<Mapping>& mappings) {
    MappedKeymap mapped{original, {}, {}, {}};
    const bool hid = isHidKeymap(original);
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
            for (const auto& [scancode, keycode] : defaults)
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
                        const DeviceInfo& info, const std::vector<Mapping>& mappings,
                        const std::vector<Mapping>& usable) {
    InstallPlan plan;
    DeviceRecord kept = record.value_or(DeviceRecord{});
    plan.changedSince = changedSince(current, kept);
    for (std::uint32_t scancode : plan.changedSince)
        kept.keys.erase(scancode);
    const Keymap original = originalKeymap(current, &kept);
    const MappedKeymap wanted = mappedKeymap(original, defaultKeymap(original, info), usable);
    plan.missingUsages = wanted.missingUsages;
    plan.after.mappings = mappings;
    plan.after.skipped.insert(wanted.missingUsages.begin(), wanted.missingUsages.end());
    for (const auto& [scancode, keycode] : wanted.keymap)
        if (keycode != original.at(scancode))
            plan.after.keys[scancode] = {original.at(scancode), {keycode}};

    // Until every change is made, a key may still give the code it has now.
    plan.during = plan.after;
    for (const auto& [scancode, keycode] : current) {
        const std::uint32_t target = wanted.keymap.at(scancode);
        if (keycode == target)
            continue;
        const auto usage = wanted.usageOf.find(scancode);
        plan.changes.push_back(
            {scancode, target, usage == wanted.usageOf.end() ? 0u : usage->second});
        RecordedKey& key = plan.during.keys[scancode];
        key.original = original.at(scancode);
        if (keycode != key.original)
            key.set.insert(keycode);
    }
    // The list goes on disk with the keys, so that once they have changed nothing is left to fail;
    // a clear only removes the record, afterwards, which needs no room on the disk.
    const bool listDiffers = !plan.after.empty() && (!record || record->mappings != mappings ||
                                                     record->skipped != plan.after.skipped);
    plan.durable = !plan.changes.empty() && !covers(record, plan.during);
    plan.writeDuring = plan.durable || listDiffers;
    const DeviceRecord onDisk = plan.writeDuring ? plan.during : record.value_or(DeviceRecord{});
    plan.writeAfter = plan.after != onDisk;
    return plan;
}

}  // namespace keyvane::hidutil
