#include "permanent/HwdbFile.h"

#include <algorithm>
#include <cstdio>

#include "common/Hex.h"
#include "common/Text.h"
#include "keys/KeyNames.h"

namespace keyvane::permanent {
namespace {

// The first line tells Keyvane's file from one somebody wrote by hand.
constexpr std::string_view header =
    "# Keyvane's permanent keymap, written by \"keyvane --make-permanent\": the keys udev gives\n"
    "# these keyboards from the moment they appear, before anyone logs in and for every user.\n"
    "# Remove it with \"keyvane --remove-permanent\". By hand: delete this file, compile the hwdb\n"
    "# again (\"systemd-hwdb update\", with \"--usr\" where /etc/udev/hwdb.bin does not exist) "
    "and\n"
    "# run \"udevadm trigger --action=change --subsystem-match=input\"; a key keeps its code "
    "until\n"
    "# the keyboard is plugged in again or the computer restarts.\n";
constexpr std::string_view allKeyboardsNote =
    "# For every keyboard connected when it was written; one first plugged in later is not\n"
    "# covered until the list is made permanent again.\n";
constexpr std::string_view keyboardComment = "# Keyboard: ";
constexpr std::string_view matchPrefix = "evdev:";

std::string hexDigits(std::uint32_t value) {
    return hexNumber(value).substr(2);
}

std::string property(std::string_view name, std::uint32_t scancode, std::uint32_t keycode) {
    return " " + std::string(name) + hexDigits(scancode) + "=" + keyName(keycode) + "\n";
}

// " NAME<hex>=<key>" of one of the two properties: its scancode and key code.
std::optional<std::pair<std::uint32_t, std::uint32_t>> readProperty(std::string_view line,
                                                                    std::string_view name) {
    if (!line.starts_with(" ") || !line.substr(1).starts_with(name))
        return std::nullopt;
    line.remove_prefix(1 + name.size());
    const auto equals = line.find('=');
    if (equals == std::string_view::npos)
        return std::nullopt;
    const auto scancode = parseHex(line.substr(0, equals));
    const auto keycode = keyCodeNamed(line.substr(equals + 1));
    if (!scancode || *scancode > UINT32_MAX || !keycode)
        return std::nullopt;
    return std::pair{static_cast<std::uint32_t>(*scancode), *keycode};
}

// Adds one property line to the record; false for a line that is none of the file's own.
bool addProperty(HwdbRecord& record, std::string_view line) {
    if (const auto key = readProperty(line, keyProperty)) {
        if (!record.keys.empty() && record.keys.back().scancode >= key->first)
            return false;
        record.keys.push_back({key->first, key->second, key->second});
        return true;
    }
    const auto original = readProperty(line, originalProperty);
    if (!original || record.keys.empty() || record.keys.back().scancode != original->first)
        return false;
    record.keys.back().original = original->second;
    return true;
}

}  // namespace

const HwdbRecord* HwdbFile::record(std::string_view match) const {
    const auto found = std::find_if(records.begin(), records.end(), [&](const HwdbRecord& record) {
        return record.match == match;
    });
    return found == records.end() ? nullptr : &*found;
}

std::string inputMatch(unsigned bus, unsigned vendor, unsigned product) {
    char match[64];
    std::snprintf(match, sizeof match, "evdev:input:b%04Xv%04Xp%04X*", bus & 0xffff,
                  vendor & 0xffff, product & 0xffff);
    return match;
}

std::string formatHwdbFile(const HwdbFile& file) {
    std::string text(header);
    if (file.allKeyboards)
        text += allKeyboardsNote;
    for (const HwdbRecord& record : file.records) {
        text += '\n';
        for (const std::string& keyboard : record.keyboards)
            text += std::string(keyboardComment) + oneLine(keyboard) + '\n';
        text += record.match + '\n';
        for (const PermanentKey& key : record.keys) {
            text += property(keyProperty, key.scancode, key.keycode);
            text += property(originalProperty, key.scancode, key.original);
        }
    }
    return text;
}

std::optional<HwdbFile> parseHwdbFile(std::string_view text) {
    if (!text.starts_with(header))
        return std::nullopt;
    text.remove_prefix(header.size());
    HwdbFile file;
    if (text.starts_with(allKeyboardsNote)) {
        file.allKeyboards = true;
        text.remove_prefix(allKeyboardsNote.size());
    }
    std::vector<std::string> keyboards;
    HwdbRecord* record = nullptr;
    for (const std::string& line : splitKeepingEmpty(text, '\n')) {
        if (line.empty()) {
            record = nullptr;
        } else if (line.starts_with(keyboardComment) && !record) {
            keyboards.push_back(line.substr(keyboardComment.size()));
        } else if (line.starts_with(matchPrefix) && !record) {
            record = &file.records.emplace_back(HwdbRecord{line, std::move(keyboards), {}});
            keyboards.clear();
        } else if (!record || !addProperty(*record, line)) {
            return std::nullopt;
        }
    }
    return file;
}

}  // namespace keyvane::permanent
