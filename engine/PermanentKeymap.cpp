#include "engine/PermanentKeymap.h"

#include <QProcess>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>

#include "common/Log.h"
#include "common/Text.h"
#include "engine/KeyTable.h"
#include "engine/MappingApplier.h"
#include "engine/MappingFile.h"
#include "engine/ShellRunner.h"
#include "permanent/PermanentCommand.h"
#include "platform/Translation.h"

namespace keyvane {
namespace {

std::string tr(const char* text) {
    return translated("PermanentKeymap", text);
}

namespace command = permanent;

// HID keyboard usages (page 7) of the keys a password is typed with.
bool typesPasswords(unsigned usage) {
    constexpr unsigned letterA = 0x04, letterZ = 0x1d, digit1 = 0x1e, digit0 = 0x27;
    constexpr unsigned enter = 0x28, backspace = 0x2a, leftShift = 0xe1, rightShift = 0xe5;
    return (usage >= letterA && usage <= letterZ) || (usage >= digit1 && usage <= digit0) ||
           usage == enter || usage == backspace || usage == leftShift || usage == rightShift;
}

std::string keyName(const std::string& usage) {
    for (const KeyTable::SortedEntry& entry : KeyTable::sortedEntries()) {
        if (entry.usage == usage && entry.name != KeyTable::separatorName)
            return entry.name;
    }
    return "key id " + usage;
}

std::string keyboardText() {
    const std::string keyboardId = MappingFile::storedKeyboardId();
    return keyboardId == allKeyboardsId
               ? tr(PermanentKeymap::allKeyboardsText)
               : fillIn(tr(PermanentKeymap::oneKeyboardText), {keyboardId});
}

std::string joined(const std::vector<std::string>& texts, const char* separator) {
    std::string result;
    for (const std::string& text : texts)
        result += (result.empty() ? "" : separator) + text;
    return result;
}

std::string trimmed(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

}  // namespace

PermanentKeymap::PermanentKeymap(PermanentHelper helper, Callbacks callbacks)
    : helper_(std::move(helper)), callbacks_(std::move(callbacks)) {}

PermanentKeymap::~PermanentKeymap() {
    // An answer that can no longer come: the helper puts the keys back. pkexec runs as root, so
    // this process could not end it anyway.
    if (running())
        process_->closeWriteChannel();
}

bool PermanentKeymap::installed() const {
    std::error_code error;
    return std::filesystem::is_regular_file(helper_.path, error);
}

bool PermanentKeymap::running() const {
    return process_ && process_->state() != QProcess::NotRunning;
}

std::vector<std::string> PermanentKeymap::makeArguments() {
    const MappingApplier::PropertyTexts texts = MappingApplier::composeProperty();
    std::vector<std::string> arguments{command::makeVerb, texts.property};
    if (texts.matching)
        arguments.insert(arguments.end(), {command::matchingOption, *texts.matching});
    return arguments;
}

std::vector<std::string> PermanentKeymap::removeArguments() {
    return {command::removeVerb};
}

void PermanentKeymap::make() {
    run(command::makeVerb, makeArguments());
}

void PermanentKeymap::remove() {
    run(command::removeVerb, removeArguments());
}

void PermanentKeymap::run(const std::string& verb, const std::vector<std::string>& arguments) {
    if (running())
        return;
    std::error_code error;
    hadPermanentKeymap_ = std::filesystem::exists(command::hwdbFile, error);
    if (!installed()) {
        if (callbacks_.finished)
            callbacks_.finished({Outcome::NotInstalled, helper_.path, hadPermanentKeymap_});
        return;
    }
    verb_ = verb;
    output_.clear();
    errors_.clear();
    // The helper reads the keys each keyboard has without Keyvane's list on top.
    if (verb == command::makeVerb)
        trace(ShellRunner::run(MappingApplier::clearingCommand));

    QStringList list;
    if (helper_.throughPkexec)
        list << QString::fromStdString(helper_.path);
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);
    process_ = std::make_unique<QProcess>();
    QProcess* process = process_.get();
    QObject::connect(process, &QProcess::readyReadStandardOutput, process,
                     [this] { readOutput(); });
    QObject::connect(process, &QProcess::readyReadStandardError, process,
                     [this] { heard(process_->readAllStandardError().toStdString()); });
    QObject::connect(process, &QProcess::finished, process,
                     [this](int exitCode, QProcess::ExitStatus status) {
                         ended(exitCode, status == QProcess::CrashExit);
                     });
    QObject::connect(process, &QProcess::errorOccurred, process, [this](QProcess::ProcessError e) {
        if (e != QProcess::FailedToStart)
            return;  // the others come with `finished`
        heard(process_->program().toStdString() + ": " + process_->errorString().toStdString() +
              "\n");
        ended(command::exitFailed, false);
    });
    const std::string program = helper_.throughPkexec ? command::pkexecProgram : helper_.path;
    trace(program + " " + joined(arguments, " "));
    process->start(QString::fromStdString(program), list);
}

void PermanentKeymap::readOutput() {
    output_ += process_->readAllStandardOutput().toStdString();
    for (std::size_t end; (end = output_.find('\n')) != std::string::npos;) {
        const std::string line = output_.substr(0, end);
        output_.erase(0, end + 1);
        trace("keyvane-permanent: " + line);
        if (line == command::changedLine && callbacks_.changed)
            callbacks_.changed();
    }
}

void PermanentKeymap::heard(const std::string& errors) {
    if (errors.empty())
        return;
    errors_ += errors;
    if (callbacks_.errorOutput)
        callbacks_.errorOutput(errors);
}

void PermanentKeymap::keep() {
    if (!running())
        return;
    process_->write((std::string(command::keepLine) + "\n").c_str());
    process_->closeWriteChannel();
}

void PermanentKeymap::putBack() {
    if (running())
        process_->closeWriteChannel();
}

void PermanentKeymap::ended(int exitCode, bool crashed) {
    readOutput();
    heard(process_->readAllStandardError().toStdString());
    Result result{Outcome::Failed, trimmed(errors_), hadPermanentKeymap_};
    if (crashed)
        exitCode = command::exitFailed;
    switch (exitCode) {
        case command::exitKept:
            result.outcome = verb_ == command::removeVerb ? Outcome::Removed : Outcome::Kept;
            break;
        case command::exitReverted:
            result.outcome = Outcome::Reverted;
            break;
        case command::exitDismissed:
            result.outcome = Outcome::Dismissed;
            break;
        case command::exitNotAuthorized:
            result.outcome = Outcome::NotAuthorized;
            break;
        default:
            if (result.message.empty())
                result.message = fillIn(tr(silentFailureText), {std::to_string(exitCode)});
            break;
    }
    // Nothing more is wanted from this run; its object stays until the next run replaces it, which
    // is never from within its own signals (the callbacks below queue what they show).
    process_->disconnect();
    // Whatever became of the permanent keymap, the session list is Keyvane's to keep installed.
    MappingApplier::install();
    if (callbacks_.finished)
        callbacks_.finished(result);
}

std::vector<std::string> PermanentKeymap::passwordKeys(const std::vector<KeyMapping>& mappings) {
    std::vector<std::string> names;
    for (const KeyMapping& mapping : mappings) {
        const auto id = mapping.find("originalId");
        if (id == mapping.end())
            continue;
        // Two hex digits follow hidutil's page prefix: "4" would be another usage altogether.
        std::string hex = id->second;
        unsigned usage = 0;
        const auto [stop, error] = std::from_chars(hex.data(), hex.data() + hex.size(), usage, 16);
        if (hex.size() != 2 || error != std::errc() || stop != hex.data() + hex.size() ||
            !typesPasswords(usage))
            continue;
        std::transform(hex.begin(), hex.end(), hex.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        const std::string name = keyName(hex);
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    return names;
}

PermanentKeymap::Message PermanentKeymap::makeQuestion() {
    std::string text = fillIn(
        tr(makeText), {mappingsCount(keyMappings.size()), keyboardText(), command::hwdbFile});
    if (MappingFile::storedKeyboardId() == allKeyboardsId)
        text += "\n\n" + tr(laterKeyboardsText);
    if (const std::vector<std::string> keys = passwordKeys(keyMappings); !keys.empty())
        text += "\n\n" + fillIn(tr(passwordKeysText), {joined(keys, ", ")});
    text += "\n\n" + fillIn(tr(countdownText), {std::to_string(command::countdownSeconds)});
    return {tr(makeTitle), text};
}

PermanentKeymap::Message PermanentKeymap::removeQuestion() {
    return {tr(removeTitle), fillIn(tr(removeText), {command::hwdbFile})};
}

PermanentKeymap::Message PermanentKeymap::outcomeMessage(const Result& result, bool removing) {
    switch (result.outcome) {
        case Outcome::Kept:
            return {tr(keptTitle), fillIn(tr(keptText), {command::hwdbFile})};
        case Outcome::Reverted:
            return {tr(revertedTitle),
                    tr(result.hadPermanentKeymap ? revertedToPreviousText : revertedToNoneText)};
        case Outcome::Removed:
            return {tr(removedTitle), tr(removedText)};
        case Outcome::Failed:
            return {tr(removing ? removeFailedTitle : makeFailedTitle), result.message};
        case Outcome::Dismissed:
            return {tr(dismissedTitle), tr(dismissedText)};
        case Outcome::NotAuthorized:
            return {tr(dismissedTitle), tr(notAuthorizedText)};
        case Outcome::NotInstalled:
            break;
    }
    return {tr(notInstalledTitle), fillIn(tr(notInstalledText), {result.message})};
}

}  // namespace keyvane
