#include "permanent/PermanentPlan.h"

#include <algorithm>

namespace keyvane::permanent {
namespace {

const HwdbRecord* recordFor(const std::optional<HwdbFile>& file, const std::string& match) {
    return file ? file->record(match) : nullptr;
}

HwdbRecord& recordOf(HwdbFile& file, const std::string& match) {
    for (HwdbRecord& record : file.records)
        if (record.match == match)
            return record;
    return file.records.emplace_back(HwdbRecord{match, {}, {}});
}

// The keyboard's codes below the permanent keymap.
hidutil::Keymap keymapBelow(const PermanentKeyboard& keyboard, const HwdbRecord* previous) {
    hidutil::Keymap below = keyboard.current;
    if (previous)
        for (const PermanentKey& key : previous->keys)
            if (const auto found = below.find(key.scancode); found != below.end())
                found->second = key.original;
    return below;
}

}  // namespace

std::string matchOf(const hidutil::DeviceInfo& info) {
    return info.bus == hidutil::bus::i8042 ? std::string(atKeyboardMatch)
                                           : inputMatch(info.bus, info.vendor, info.product);
}

HwdbFile permanentFile(const std::vector<PermanentKeyboard>& keyboards,
                       const std::vector<hidutil::Mapping>& usable,
                       const std::optional<HwdbFile>& previous, bool allKeyboards) {
    HwdbFile file{allKeyboards, {}};
    for (const PermanentKeyboard& keyboard : keyboards) {
        const std::string match = matchOf(keyboard.info);
        const hidutil::Keymap below = keymapBelow(keyboard, recordFor(previous, match));
        // What lies below the previous file is the default the list's sources are found by.
        const auto mapped = hidutil::mappedKeymap(below, below, usable);
        std::vector<PermanentKey> keys;
        for (const auto& [scancode, keycode] : mapped.keymap)
            if (keycode != below.at(scancode))
                keys.push_back({scancode, keycode, below.at(scancode)});
        if (keys.empty())
            continue;
        HwdbRecord& record = recordOf(file, match);
        record.keyboards.push_back(keyboard.info.name);
        for (const PermanentKey& key : keys)
            if (std::none_of(record.keys.begin(), record.keys.end(),
                             [&](const PermanentKey& had) { return had.scancode == key.scancode; }))
                record.keys.push_back(key);
        std::sort(
            record.keys.begin(), record.keys.end(),
            [](const PermanentKey& a, const PermanentKey& b) { return a.scancode < b.scancode; });
    }
    return file;
}

KeyboardTransition transition(const PermanentKeyboard& keyboard,
                              const std::optional<HwdbFile>& from,
                              const std::optional<HwdbFile>& to) {
    const std::string match = matchOf(keyboard.info);
    const HwdbRecord* before = recordFor(from, match);
    const HwdbRecord* after = recordFor(to, match);
    KeyboardTransition result;
    if (after)
        for (const PermanentKey& key : after->keys)
            if (keyboard.current.contains(key.scancode))
                result.expected[key.scancode] = key.keycode;
    if (before)
        for (const PermanentKey& key : before->keys) {
            const auto now = keyboard.current.find(key.scancode);
            if (now == keyboard.current.end() || result.expected.contains(key.scancode) ||
                now->second != key.keycode)
                continue;
            result.resets.push_back({key.scancode, key.original});
            result.expected[key.scancode] = key.original;
        }
    return result;
}

}  // namespace keyvane::permanent
