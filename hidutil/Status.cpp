#include "hidutil/Status.h"

#include <algorithm>

#include "common/Hex.h"
#include "common/Text.h"
#include "common/Utf8.h"
#include "hidutil/Messages.h"
#include "keys/KeyNames.h"

namespace keyvane::hidutil {
namespace {

// Whether every one of scancodes gives what the list wants because udev's hwdb sets it so.
bool givenByHwdb(const std::vector<std::uint32_t>& scancodes, const Keymap& current,
                 const Keymap& hwdb, const MappedKeymap& wanted) {
    return std::all_of(scancodes.begin(), scancodes.end(), [&](std::uint32_t scancode) {
        const auto set = hwdb.find(scancode);
        const auto now = current.find(scancode);
        const std::uint32_t code = wanted.keymap.at(scancode);
        return set != hwdb.end() && set->second == code && now != current.end() &&
               now->second == code;
    });
}

// An entry that an install skipped, or whose keys it left as hwdb had set them, may be permanent
// since.
EntryState stateOf(const Mapping& mapping, const Keymap& current, const DeviceRecord& record,
                   const DeviceInfo& info, const MappedKeymap& wanted) {
    if (whyUnusable(mapping))
        return EntryState::Unusable;
    const unsigned source = mapping.srcUsage();
    const auto scancodes = wanted.scancodesOf.find(source);
    if (scancodes == wanted.scancodesOf.end())
        return EntryState::Skipped;
    if (givenByHwdb(scancodes->second, current, info.hwdbKeys, wanted))
        return EntryState::Permanent;
    if (record.skipped.contains(source))
        return EntryState::Skipped;
    for (std::uint32_t scancode : scancodes->second) {
        const auto now = current.find(scancode);
        if (now == current.end() || now->second != wanted.keymap.at(scancode))
            return EntryState::Overridden;
    }
    return EntryState::Installed;
}

// A JSON string; bytes that are no UTF-8 (a device may name itself anything) become U+FFFD.
std::string jsonString(const std::string& text) {
    std::string out = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const Utf8Step step = decodeUtf8At(text, i);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20) {
            out += "\\u00";
            appendHexByte(out, c, false);
        } else if (!step.valid) {
            out += "\\ufffd";
            i += 1;
            continue;
        } else {
            out.append(text, i, step.length);
            i += step.length;
            continue;
        }
        ++i;
    }
    return out + '"';
}

std::string_view causeName(const UnopenedDevice& device) {
    return device.noAccess ? contract::causeNoAccess : contract::causeOther;
}

}  // namespace

std::vector<EntryStatus> readBack(const Keymap& current, const DeviceRecord& record,
                                  const DeviceInfo& info) {
    const Keymap original = originalKeymap(current, &record);
    std::vector<Mapping> usable;
    for (const Mapping& mapping : record.mappings)
        if (!whyUnusable(mapping))
            usable.push_back(mapping);
    const MappedKeymap wanted = mappedKeymap(original, defaultKeymap(original, info), usable);
    std::vector<EntryStatus> entries;
    for (const Mapping& mapping : record.mappings)
        entries.push_back({mapping, stateOf(mapping, current, record, info, wanted)});
    return entries;
}

std::string_view stateName(EntryState state) {
    switch (state) {
        case EntryState::Installed:
            return text::stateInstalled;
        case EntryState::Permanent:
            return text::statePermanent;
        case EntryState::Skipped:
            return text::stateSkipped;
        case EntryState::Overridden:
            return text::stateOverridden;
        case EntryState::Unusable:
            return text::stateUnusable;
    }
    return {};
}

bool anyOverridden(const std::vector<KeyboardStatus>& keyboards) {
    return std::any_of(keyboards.begin(), keyboards.end(), [](const KeyboardStatus& keyboard) {
        return std::any_of(
            keyboard.entries.begin(), keyboard.entries.end(),
            [](const EntryStatus& entry) { return entry.state == EntryState::Overridden; });
    });
}

std::string formatStatus(const std::vector<KeyboardStatus>& keyboards,
                         const std::vector<UnopenedDevice>& unopened) {
    std::string out;
    for (const KeyboardStatus& keyboard : keyboards) {
        const ServiceRow& row = keyboard.row;
        out += fill(text::statusKeyboardLine, {hexNumber(row.productId), row.transport,
                                               hexNumber(row.registryId), oneLine(row.product)});
        if (keyboard.originalsUnknown)
            out += text::statusOriginalsUnknownLine;
        for (const EntryStatus& entry : keyboard.entries)
            out += fill(text::statusMappingLine,
                        {hexNumber(entry.mapping.src), hexNumber(entry.mapping.dst),
                         stateName(entry.state)});
        for (const KeyLayer& key : keyboard.keys)
            out += fill(text::statusKeyLine,
                        {hexNumber(key.scancode), keyName(key.keycode), layerName(key.layer)});
    }
    for (const UnopenedDevice& device : unopened)
        out += fill(text::statusUnopenedLine, {device.node, causeName(device), device.error});
    return out;
}

std::string formatStatusJson(const std::vector<KeyboardStatus>& keyboards,
                             const std::vector<UnopenedDevice>& unopened) {
    using namespace contract;
    const std::string originals =
        fill(text::statusJsonOriginalsUnknown, {keyOriginals, contract::originalsUnknown});
    std::string out = fill(text::statusJsonHead, {keyKeyboards});
    for (std::size_t k = 0; k < keyboards.size(); ++k) {
        const ServiceRow& row = keyboards[k].row;
        out += fill(text::statusJsonKeyboard,
                    {k ? ",\n  " : "\n  ", keyProduct, jsonString(row.product), keyProductId,
                     std::to_string(row.productId), keyTransport, jsonString(row.transport),
                     keyRegistryId, std::to_string(row.registryId),
                     keyboards[k].originalsUnknown ? originals : "", userKeyMapping});
        const auto& entries = keyboards[k].entries;
        for (std::size_t e = 0; e < entries.size(); ++e)
            out +=
                fill(text::statusJsonMapping,
                     {e ? ",\n    " : "\n    ", mappingSrc, std::to_string(entries[e].mapping.src),
                      mappingDst, std::to_string(entries[e].mapping.dst), keyState,
                      jsonString(std::string(stateName(entries[e].state)))});
        out += entries.empty() ? "" : "\n  ";
        out += fill(text::statusJsonKeys, {keyKeys});
        const auto& keys = keyboards[k].keys;
        for (std::size_t i = 0; i < keys.size(); ++i)
            out += fill(text::statusJsonKey,
                        {i ? ",\n    " : "\n    ", keyScancode, std::to_string(keys[i].scancode),
                         keyKey, jsonString(keyName(keys[i].keycode)), keyLayer,
                         jsonString(std::string(layerName(keys[i].layer)))});
        out += keys.empty() ? "]}" : "\n  ]}";
    }
    out += keyboards.empty() ? "]" : "\n]";
    if (!unopened.empty())
        out += fill(text::statusJsonUnopenedHead, {keyUnopened});
    for (std::size_t u = 0; u < unopened.size(); ++u)
        out += fill(text::statusJsonUnopened,
                    {u ? ",\n  " : "\n  ", keyNode, jsonString(unopened[u].node), keyCause,
                     jsonString(std::string(causeName(unopened[u]))), keyError,
                     jsonString(unopened[u].error)});
    out += unopened.empty() ? "}\n" : "\n]}\n";
    return out;
}

}  // namespace keyvane::hidutil
