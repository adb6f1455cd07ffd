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
#include "common/Text.h"
#include "engine/MappingApplier.h"
#include "engine/MappingFile.h"
#include "engine/ShellRunner.h"
#include "platform/Translation.h"

namespace keyvane {
namespace {

std::string tr(const char* text) {
    return translated("MappingStatus", text);
}

std::function<void()> changedHandler;
bool checking = false, clearedSince = false;
bool silent = false;  // a command's standard output is its answer, not the trace
// What the last check read before installing again, and afterwards.
std::optional<StatusReading> firstRead, lastRead;
// Why no installation can work, as the last check found; the one the user was last alerted to.
std::optional<std::string> obstacleFound, obstacleTold;

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

bool anyOverridden(const StatusReading& reading) {
    const auto& keyboards = reading.keyboards;
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
    for (const StatusKeyboard& keyboard : firstRead->keyboards)
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

std::string text(const char* key, const QJsonObject& object) {
    return object.value(QLatin1String(key)).toString().toStdString();
}

std::optional<std::string> obstacleIn(const StatusReading& reading) {
    if (!reading.unopened.empty()) {
        const UnopenedDevice& device = reading.unopened.front();
        return fillIn(
            tr(device.noAccess ? MappingStatus::noAccessText : MappingStatus::cannotOpenText),
            {device.node, device.error});
    }
    if (reading.keyboards.empty())
        return tr(MappingStatus::noKeyboardText);
    const std::string chosen = MappingFile::storedKeyboardId();
    const auto productId = chosen.starts_with("0x") ? parseHex(chosen.substr(2)) : std::nullopt;
    if (chosen == allKeyboardsId || !productId)
        return std::nullopt;
    for (const StatusKeyboard& keyboard : reading.keyboards)
        if (keyboard.productId == *productId)
            return std::nullopt;
    return fillIn(tr(MappingStatus::keyboardAbsentText), {chosen});
}

// Told once for as long as it lasts: the window's line says it meanwhile, and the installations
// the timer makes while the window is hidden would otherwise alert every half hour.
MappingApplier::FailureCause failureCause() {
    if (std::exchange(checkPending, false))
        MappingStatus::check();  // a failure is worth a process before the window is on screen
    const bool toldBefore = obstacleFound && obstacleFound == obstacleTold;
    obstacleTold = obstacleFound;
    return {obstacleFound.value_or(""), toldBefore};
}

// One keyboard with several event devices of the same name is named once.
std::string names(const std::vector<std::string>& keyboards) {
    std::vector<std::string> distinct;
    for (const std::string& name : keyboards)
        if (std::find(distinct.begin(), distinct.end(), name) == distinct.end())
            distinct.push_back(name);
    std::string list;
    for (const std::string& name : distinct)
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

std::string installedText(std::size_t installed, std::size_t withoutKey) {
    if (withoutKey > 0)
        return fillIn(tr(MappingStatus::installedOnSomeText),
                      {std::to_string(installed), std::to_string(installed + withoutKey)});
    return installed == 1
               ? tr(MappingStatus::installedOnOneText)
               : fillIn(tr(MappingStatus::installedOnManyText), {std::to_string(installed)});
}

}  // namespace

bool MappingState::tookEffect() const {
    return !replacedBy && overridden.empty() && unusable.empty() &&
           !(installed.empty() && permanent.empty() && reinstalled.empty());
}

StatusReading parseStatus(const std::string& json) {
    StatusReading reading;
    const QJsonObject document = QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
    reading.read = document.value(QLatin1String(contract::keyKeyboards)).isArray();
    for (const QJsonValue value : document.value(QLatin1String(contract::keyUnopened)).toArray()) {
        const QJsonObject device = value.toObject();
        reading.unopened.push_back({text(contract::keyNode, device),
                                    text(contract::keyCause, device) == contract::causeNoAccess,
                                    text(contract::keyError, device)});
    }
    for (const QJsonValue keyboardValue :
         document.value(QLatin1String(contract::keyKeyboards)).toArray()) {
        const QJsonObject keyboard = keyboardValue.toObject();
        StatusKeyboard read;
        read.registryId = numberOf(keyboard, contract::keyRegistryId).value_or(0);
        read.productId = numberOf(keyboard, contract::keyProductId).value_or(0);
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
        reading.keyboards.push_back(std::move(read));
    }
    return reading;
}

void MappingStatus::followInstallations(std::function<void()> changed) {
    changedHandler = std::move(changed);
    MappingApplier::setAroundInstall(markStatusFile, [] {
        if (held)
            checkPending = true;
        else
            check();
    });
    MappingApplier::setFailureCause(failureCause);
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
    const auto traced = [](const std::string& line) {
        if (!silent)
            trace(line);
    };
    std::string output = readStatus();
    traced(output);
    firstRead = lastRead = parseStatus(output);
    if (anyOverridden(*firstRead)) {
        traced("a mapping was overridden: installing again");
        if (silent)
            MappingApplier::install();
        else
            MappingApplier::applyMappings();
        output = readStatus();
        traced(output);
        lastRead = parseStatus(output);
    }
    if (lastRead->read)
        obstacleFound = obstacleIn(*lastRead);
    if (!obstacleFound)
        obstacleTold.reset();
    clearedSince = false;
    checking = false;
    if (changedHandler)
        changedHandler();
}

void MappingStatus::checkSilently() {
    silent = true;
    check();
    silent = false;
}

void MappingStatus::cleared() {
    firstRead = lastRead = StatusReading{};
    clearedSince = true;
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
    for (const StatusKeyboard& keyboard : lastRead->keyboards) {
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

std::optional<MappingState> MappingStatus::stateOfRow(std::size_t row) {
    std::optional<MappingState> state = stateOf(keyMappings.at(row));
    if (!state || nothingInstalled())
        return state;
    // A key gives what its last mapping wants; an earlier mapping of it that wants the same is in
    // effect all the same.
    const auto last = MappingStore::lastRowOf(MappingStore::field(keyMappings[row], "originalId"));
    if (last && *last > row &&
        MappingStore::field(keyMappings[*last], "remappedId") !=
            MappingStore::field(keyMappings[row], "remappedId"))
        state->replacedBy = *last + 1;
    return state;
}

std::string MappingStatus::describe(const std::optional<MappingState>& state) {
    if (!state)
        return {};
    if (state->replacedBy)
        return fillIn(tr(replacedText), {std::to_string(*state->replacedBy)});
    if (!state->unusable.empty())
        return tr(unusableText);
    if (!state->overridden.empty())
        return fillIn(tr(overriddenText), {names(state->overridden)});
    if (!state->reinstalled.empty())
        return fillIn(tr(reinstalledText), {names(state->reinstalled)});
    // A keyboard the permanent keymap gives the key counts as one it is installed on.
    if (!state->installed.empty())
        return installedText(state->installed.size() + state->permanent.size(),
                             state->skipped.size());
    if (!state->permanent.empty())
        return tr(permanentText);
    if (!state->skipped.empty())
        return tr(skippedText);
    return tr(notInstalledText);
}

std::vector<StatusKeyboard> MappingStatus::keyboards() {
    return lastRead ? lastRead->keyboards : std::vector<StatusKeyboard>{};
}

std::optional<std::string> MappingStatus::obstacle() {
    return obstacleFound;
}

bool MappingStatus::nothingInstalled() {
    return clearedSince;
}

}  // namespace keyvane
