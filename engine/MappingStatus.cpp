#include "engine/MappingStatus.h"

#include <sys/stat.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <utility>

#include "common/Hex.h"
#include "common/Log.h"
#include "engine/MappingApplier.h"
#include "engine/ShellRunner.h"

namespace keyvane {
namespace {

std::function<void()> changedHandler;
bool checking = false;
// What the last check read before installing again, and afterwards.
std::optional<std::vector<StatusKeyboard>> firstRead, lastRead;

// Which status file was there before the installation command ran: hidutil replaces it whole, so a
// file it wrote for this installation is a new one. Compared by identity rather than by time, which
// the file system keeps more coarsely than a clock reads.
struct FileMark {
    ino_t inode = 0;
    std::int64_t modified = 0;
    bool operator==(const FileMark&) const = default;
};
std::optional<FileMark> markBefore;
bool held = false, checkPending = false;

std::optional<FileMark> markOf(const std::filesystem::path& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0)
        return std::nullopt;
    return FileMark{status.st_ino,
                    std::int64_t(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec};
}

void markStatusFile() {
    const auto file = contract::statusFile();
    markBefore = file ? markOf(*file) : std::nullopt;
}

// What the installation left, when it left it; else what `hidutil status` says now. The file is
// taken once, so that a later reading never mistakes it for news.
std::string readStatus() {
    if (const auto file = contract::statusFile()) {
        const auto mark = markOf(*file);
        if (mark && mark != std::exchange(markBefore, mark)) {
            QFile left(QString::fromStdString(file->string()));
            if (left.open(QIODevice::ReadOnly)) {
                trace("status left by the installation in " + file->string());
                return left.readAll().toStdString();
            }
        }
    }
    return ShellRunner::run(MappingStatus::statusCommand);
}

std::optional<std::uint64_t> usageOf(const KeyMapping& mapping, const char* key) {
    const auto id = mapping.find(key);
    return id == mapping.end() ? std::nullopt
                               : parseHex(contract::keyboardUsagePrefix + id->second);
}

bool anyOverridden(const std::vector<StatusKeyboard>& keyboards) {
    return std::any_of(keyboards.begin(), keyboards.end(), [](const StatusKeyboard& keyboard) {
        return std::any_of(
            keyboard.entries.begin(), keyboard.entries.end(),
            [](const StatusEntry& entry) { return entry.state == contract::stateOverridden; });
    });
}

const StatusEntry* entryOf(const StatusKeyboard& keyboard, std::uint64_t src, std::uint64_t dst) {
    for (const StatusEntry& entry : keyboard.entries)
        if (entry.src == src && entry.dst == dst)
            return &entry;
    return nullptr;
}

bool wasOverridden(std::uint64_t registryId, std::uint64_t src, std::uint64_t dst) {
    for (const StatusKeyboard& keyboard : *firstRead)
        if (keyboard.registryId == registryId) {
            const StatusEntry* entry = entryOf(keyboard, src, dst);
            return entry && entry->state == contract::stateOverridden;
        }
    return false;
}

// Usages and registry ids are below 2^53, which a JSON number holds exactly.
std::optional<std::uint64_t> numberOf(const QJsonObject& object, const char* key) {
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isDouble() || value.toDouble() < 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(value.toInteger());
}

}  // namespace

std::vector<StatusKeyboard> parseStatus(const std::string& json) {
    std::vector<StatusKeyboard> keyboards;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(json));
    for (const QJsonValue keyboardValue :
         document.object().value(QLatin1String(contract::keyKeyboards)).toArray()) {
        const QJsonObject keyboard = keyboardValue.toObject();
        StatusKeyboard read;
        read.registryId = numberOf(keyboard, contract::keyRegistryId).value_or(0);
        read.product = keyboard.value(QLatin1String(contract::keyProduct)).toString().toStdString();
        for (const QJsonValue entryValue :
             keyboard.value(QLatin1String(contract::userKeyMapping)).toArray()) {
            const QJsonObject entry = entryValue.toObject();
            const auto src = numberOf(entry, contract::mappingSrc);
            const auto dst = numberOf(entry, contract::mappingDst);
            const QString state = entry.value(QLatin1String(contract::keyState)).toString();
            if (src && dst && !state.isEmpty())
                read.entries.push_back({*src, *dst, state.toStdString()});
        }
        keyboards.push_back(std::move(read));
    }
    return keyboards;
}

void MappingStatus::followInstallations(std::function<void()> changed) {
    changedHandler = std::move(changed);
    MappingApplier::setAroundInstall(markStatusFile, [] {
        if (held)
            checkPending = true;
        else
            check();
    });
}

void MappingStatus::holdChecks() {
    held = true;
}

void MappingStatus::releaseChecks() {
    held = false;
    if (std::exchange(checkPending, false))
        check();
}

void MappingStatus::check() {
    if (checking)
        return;  // the installation that a check makes is read back by that check
    checking = true;
    std::string output = readStatus();
    trace(output);
    firstRead = lastRead = parseStatus(output);
    if (anyOverridden(*firstRead)) {
        trace("a mapping was overridden: installing again");
        MappingApplier::applyMappings();
        output = readStatus();
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
        if (entry->state == contract::stateInstalled)
            (wasOverridden(keyboard.registryId, *src, *dst) ? state.reinstalled : state.installed)
                .push_back(keyboard.product);
        else if (entry->state == contract::statePermanent)
            state.permanent.push_back(keyboard.product);
        else if (entry->state == contract::stateOverridden)
            state.overridden.push_back(keyboard.product);
        else if (entry->state == contract::stateSkipped)
            state.skipped.push_back(keyboard.product);
        else if (entry->state == contract::stateUnusable)
            state.unusable.push_back(keyboard.product);
    }
    return state;
}

}  // namespace keyvane
