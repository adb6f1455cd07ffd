#include "engine/MappingStatus.h"

#include <algorithm>
#include <sstream>

#include "common/Hex.h"
#include "common/Log.h"
#include "engine/MappingApplier.h"
#include "engine/ShellRunner.h"

namespace keyvane {
namespace {

constexpr const char* keyboardWord = "keyboard";
constexpr const char* mappingWord = "mapping";
constexpr const char* installedState = "installed";
constexpr const char* permanentState = "permanent";
constexpr const char* skippedState = "skipped";
constexpr const char* unusableState = "unusable";
// The command writes each id after this prefix of a usage on the keyboard page.
constexpr const char* usagePrefix = "7000000";

std::function<void()> changedHandler;
bool checking = false;
// What the last check read before installing again, and afterwards.
std::optional<std::vector<StatusKeyboard>> firstRead, lastRead;

std::optional<std::uint64_t> usageOf(const KeyMapping& mapping, const char* key) {
    const auto id = mapping.find(key);
    return id == mapping.end() ? std::nullopt : parseHex(usagePrefix + id->second);
}

bool anyOverridden(const std::vector<StatusKeyboard>& keyboards) {
    return std::any_of(keyboards.begin(), keyboards.end(), [](const StatusKeyboard& keyboard) {
        return std::any_of(
            keyboard.entries.begin(), keyboard.entries.end(),
            [](const StatusEntry& entry) { return entry.state == MappingStatus::overriddenState; });
    });
}

const StatusEntry* entryOf(const StatusKeyboard& keyboard, std::uint64_t src, std::uint64_t dst) {
    for (const StatusEntry& entry : keyboard.entries)
        if (entry.src == src && entry.dst == dst)
            return &entry;
    return nullptr;
}

bool wasOverridden(const std::string& registryId, std::uint64_t src, std::uint64_t dst) {
    for (const StatusKeyboard& keyboard : *firstRead)
        if (keyboard.registryId == registryId) {
            const StatusEntry* entry = entryOf(keyboard, src, dst);
            return entry && entry->state == MappingStatus::overriddenState;
        }
    return false;
}

}  // namespace

std::vector<StatusKeyboard> parseStatus(const std::string& output) {
    std::vector<StatusKeyboard> keyboards;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string kind, first, second, third;
        words >> kind >> first >> second >> third;
        if (kind == keyboardWord && !third.empty()) {
            words >> std::ws;
            std::string product;
            std::getline(words, product);
            keyboards.push_back({third, product, {}});
        } else if (kind == mappingWord && !keyboards.empty()) {
            const auto src = parseHex(first.substr(std::min<std::size_t>(2, first.size())));
            const auto dst = parseHex(second.substr(std::min<std::size_t>(2, second.size())));
            if (src && dst && !third.empty())
                keyboards.back().entries.push_back({*src, *dst, third});
        }
    }
    return keyboards;
}

void MappingStatus::followInstallations(std::function<void()> changed) {
    changedHandler = std::move(changed);
    MappingApplier::setAfterInstall(check);
}

void MappingStatus::check() {
    if (checking)
        return;  // the installation that a check makes is read back by that check
    checking = true;
    std::string output = ShellRunner::run(statusCommand);
    trace(output);
    firstRead = lastRead = parseStatus(output);
    if (anyOverridden(*firstRead)) {
        trace("a mapping was overridden: installing again");
        MappingApplier::applyMappings();
        output = ShellRunner::run(statusCommand);
        trace(output);
        lastRead = parseStatus(output);
    }
    checking = false;
    if (changedHandler)
        changedHandler();
}

void MappingStatus::cleared() {
    firstRead = lastRead = std::vector<StatusKeyboard>{};
    if (changedHandler)
        changedHandler();
}

std::optional<MappingState> MappingStatus::stateOf(const KeyMapping& mapping) {
    if (!lastRead)
        return std::nullopt;
    MappingState state;
    const auto src = usageOf(mapping, "originalId"), dst = usageOf(mapping, "remappedId");
    if (!src || !dst)
        return state;
    for (const StatusKeyboard& keyboard : *lastRead) {
        const StatusEntry* entry = entryOf(keyboard, *src, *dst);
        if (!entry)
            continue;
        if (entry->state == installedState)
            (wasOverridden(keyboard.registryId, *src, *dst) ? state.reinstalled : state.installed)
                .push_back(keyboard.product);
        else if (entry->state == permanentState)
            state.permanent.push_back(keyboard.product);
        else if (entry->state == overriddenState)
            state.overridden.push_back(keyboard.product);
        else if (entry->state == skippedState)
            state.skipped.push_back(keyboard.product);
        else if (entry->state == unusableState)
            state.unusable.push_back(keyboard.product);
    }
    return state;
}

}  // namespace keyvane
