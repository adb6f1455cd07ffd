#include "permanent/PermanentKeymap.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "common/AtomicFile.h"
#include "common/Hex.h"
#include "hidutil/Command.h"
#include "hidutil/Messages.h"
#include "hidutil/Output.h"
#include "permanent/Messages.h"
#include "permanent/PermanentCommand.h"

namespace keyvane::permanent {
namespace {

namespace fs = std::filesystem;
using hidutil::fill;

// Far above any file Keyvane writes; a bigger one is no file of ours.
constexpr std::uintmax_t largestFile = 4u << 20;

std::string syspathOf(const hidutil::DeviceInfo& info) {
    return "/sys/class/input/" + fs::path(info.node).filename().string();
}

std::size_t keyCount(const HwdbFile& file) {
    std::size_t count = 0;
    for (const HwdbRecord& record : file.records)
        count += record.keys.size();
    return count;
}

std::string keyboardNames(const HwdbFile& file) {
    std::string names;
    for (const HwdbRecord& record : file.records)
        for (const std::string& keyboard : record.keyboards)
            names += (names.empty() ? "" : ", ") + keyboard;
    return names;
}

// Whose keys must change: the first difference between what a keyboard gives and what it should.
std::string firstMismatch(hidutil::KeyDevice& device, const hidutil::Keymap& expected) {
    for (const auto& [scancode, keycode] : expected) {
        std::uint32_t now = 0;
        if (const std::error_code error = device.readKeycode(scancode, now))
            return device.info().name + ": " + error.message();
        if (now != keycode)
            return fill(text::keyNotTaken, {device.info().name, hexNumber(scancode),
                                            std::to_string(now), std::to_string(keycode)});
    }
    return {};
}

}  // namespace

bool PermanentKeymap::readFile(std::optional<HwdbFile>& file) {
    std::error_code error;
    if (!fs::exists(fs::symlink_status(file_, error))) {
        file.reset();
        return true;
    }
    std::ifstream in(file_);
    std::ostringstream text;
    text << in.rdbuf();
    if (!in || fs::file_size(file_, error) > largestFile || !fs::is_regular_file(file_, error) ||
        !(file = parseHwdbFile(text.str()))) {
        err_ << fill(text::notOurs, {file_.string()});
        return false;
    }
    return true;
}

std::vector<PermanentKeyboard> PermanentKeymap::keyboards(std::string& problem) {
    hidutil::DeviceScan scan = devices_.scan();
    if (scan.error)
        problem = scan.error.message();
    std::vector<PermanentKeyboard> found;
    for (const auto& device : scan.devices) {
        std::vector<hidutil::KeymapEntry> entries;
        if (device->readKeymap(entries))
            continue;
        const hidutil::Keymap current = hidutil::toKeymap(entries);
        if (hidutil::isKeyboard(device->info(), current, current))
            found.push_back({device->info(), current});
    }
    return found;
}

int PermanentKeymap::make(const std::string& property, const std::optional<std::string>& matching,
                          const Answer& keep) {
    const auto mappings = hidutil::readUserKeyMapping(property);
    const auto matchingText = matching
                                  ? hidutil::readMatching(*matching)
                                  : hidutil::Checked<hidutil::Matching>{hidutil::Matching{}, {}};
    if (!mappings.value || !matchingText.value) {
        const hidutil::TextError& error = mappings.value ? matchingText.error : mappings.error;
        err_ << fill(text::badList, {error.expected});
        return exitUsage;
    }
    const auto usable = hidutil::usableMappings(*mappings.value, err_);
    if (usable.empty()) {
        err_ << text::emptyList;
        return exitUsage;
    }
    std::optional<HwdbFile> previous;
    if (!readFile(previous))
        return exitFailed;
    std::string problem;
    std::vector<PermanentKeyboard> targets;
    for (PermanentKeyboard& keyboard : keyboards(problem))
        if (hidutil::matches(*matchingText.value, hidutil::describeService(keyboard.info, true)))
            targets.push_back(std::move(keyboard));
    if (targets.empty()) {
        if (!problem.empty())
            err_ << fill(text::noDevices, {problem});
        else if (matching)
            err_ << fill(text::noKeyboard, {*matching});
        else
            err_ << text::noKeyboardAtAll;
        return exitFailed;
    }
    const HwdbFile next = permanentFile(targets, usable, previous, !matching);
    if (next.records.empty()) {
        err_ << text::noKeys;
        return exitFailed;
    }
    if (!move(previous, next))
        return exitFailed;
    err_ << fill(text::made, {std::to_string(keyCount(next)), keyboardNames(next), file_.string()});
    if (next.allKeyboards)
        err_ << text::laterKeyboards;
    out_ << changedLine << std::endl;
    if (keep()) {
        out_ << keptLine << std::endl;
        return exitKept;
    }
    if (!move(next, previous))
        return exitFailed;
    err_ << (previous ? text::previousBack : text::noneBack);
    out_ << revertedLine << std::endl;
    return exitReverted;
}

int PermanentKeymap::remove() {
    std::optional<HwdbFile> previous;
    if (!readFile(previous))
        return exitFailed;
    if (previous && !move(previous, std::nullopt))
        return exitFailed;
    err_ << (previous ? text::removed : text::nothingToRemove);
    out_ << removedLine << std::endl;
    return exitKept;
}

bool PermanentKeymap::move(const std::optional<HwdbFile>& from, const std::optional<HwdbFile>& to) {
    std::string problem;
    if (to && !tools_.validate(*to, problem)) {
        err_ << fill(text::notValid, {problem});
        return false;
    }
    if (!place(to, problem)) {
        err_ << fill(text::cannotWrite, {file_.string(), problem});
        return false;
    }
    if (!tools_.update(problem)) {
        std::string ignored;
        if (place(from, ignored) && tools_.update(ignored))
            err_ << fill(text::notCompiled, {problem});
        else
            err_ << fill(text::stuck, {problem, file_.string()});
        return false;
    }
    if (!apply(from, to, problem)) {
        err_ << fill(text::notApplied, {problem});
        std::string again;
        if (!place(from, again) || !tools_.update(again) || !apply(to, from, again))
            err_ << fill(text::stuck, {again, file_.string()});
        return false;
    }
    return true;
}

bool PermanentKeymap::place(const std::optional<HwdbFile>& file, std::string& problem) {
    std::error_code error;
    if (!file) {
        fs::remove(file_, error);
    } else if (!(error = replaceFileAtomically(file_, formatHwdbFile(*file)))) {
        // Readable by all, as udev's other files are: it holds no secret, and users may look.
        fs::permissions(file_,
                        fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                            fs::perms::others_read,
                        error);
    }
    problem = error.message();
    return !error;
}

bool PermanentKeymap::apply(const std::optional<HwdbFile>& from, const std::optional<HwdbFile>& to,
                            std::string& problem) {
    std::vector<std::string> syspaths;
    std::vector<std::pair<std::string, hidutil::Keymap>> expected;  // by node
    hidutil::DeviceScan scan = devices_.scan();
    for (const auto& device : scan.devices) {
        std::vector<hidutil::KeymapEntry> entries;
        if (device->readKeymap(entries))
            continue;
        const KeyboardTransition change =
            transition({device->info(), hidutil::toKeymap(entries)}, from, to);
        if (!change.touched())
            continue;
        for (const hidutil::KeymapEntry& reset : change.resets)
            if (const std::error_code error = device->setKeycode(reset.scancode, reset.keycode)) {
                problem = device->info().name + ": " + error.message();
                return false;
            }
        syspaths.push_back(syspathOf(device->info()));
        expected.emplace_back(device->info().node, change.expected);
    }
    if (!syspaths.empty() && !tools_.trigger(syspaths, problem))
        return false;
    scan = devices_.scan();
    for (const auto& [node, keys] : expected)
        for (const auto& device : scan.devices)
            if (device->info().node == node)
                if (problem = firstMismatch(*device, keys); !problem.empty())
                    return false;
    return true;
}

}  // namespace keyvane::permanent
