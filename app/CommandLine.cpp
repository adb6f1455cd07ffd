#include "app/CommandLine.h"

#include <poll.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QLocale>
#include <QProcess>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <map>

#include "app/CommandService.h"
#include "app/Translation.h"
#include "common/Log.h"
#include "common/Text.h"
#include "engine/MappingApplier.h"
#include "engine/MappingFile.h"
#include "engine/MappingStatus.h"
#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "keys/HidutilContract.h"
#include "permanent/PermanentCommand.h"
#include "platform/Bundle.h"
#include "platform/SessionBus.h"
#include "platform/SingleInstance.h"
#include "platform/Translation.h"

namespace keyvane {
namespace {

using Action = CommandLine::Action;

const std::map<std::string, Action> options = {
    {"--apply", Action::Apply},
    {"--restore", Action::Restore},
    {"--list", Action::List},
    {"--status", Action::Status},
    {"--export", Action::Export},
    {"--import", Action::Import},
    {"--help", Action::Help},
    {"--version", Action::Version},
    {"-h", Action::Help},
    {"-v", Action::Version},
    {"--make-permanent", Action::MakePermanent},
    {"--remove-permanent", Action::RemovePermanent},
};
constexpr const char* appendOption = "--append";

constexpr const char* clearingFailedMessage = QT_TRANSLATE_NOOP(
    "CommandLine", "keyvane: hidutil did not confirm that the mappings were removed");
constexpr const char* partlyUnusableMessage = QT_TRANSLATE_NOOP(
    "CommandLine",
    "keyvane: nothing was imported, so that no mapping goes missing unnoticed. Correct the "
    "mappings above, or import the file in the Keyvane window, which can leave them out. Your "
    "list is unchanged.");

// The command line's own sentences; those it shares with the window are marked where they are kept.
constexpr const char* allKeyboardsText = QT_TRANSLATE_NOOP("CommandLine", "all keyboards");
constexpr const char* oneKeyboardText = QT_TRANSLATE_NOOP("CommandLine", "the keyboard %1");
constexpr const char* nothingStoredText = QT_TRANSLATE_NOOP(
    "CommandLine", "No mappings are stored; every key Keyvane changed is as it was.");
constexpr const char* restoredText =
    QT_TRANSLATE_NOOP("CommandLine", "Every key Keyvane changed is as it was.");
constexpr const char* keyboardLine = QT_TRANSLATE_NOOP("CommandLine", "Keyboard: %1");
constexpr const char* cannotExportText =
    QT_TRANSLATE_NOOP("CommandLine", "cannot export to %1: %2");
// %1: "3 mappings", %2: the keyboard, %3: the file
constexpr const char* exportedText = QT_TRANSLATE_NOOP("CommandLine", "Exported %1 for %2 to %3.");
constexpr const char* cannotImportText =
    QT_TRANSLATE_NOOP("CommandLine", "cannot import %1: %2. Your list is unchanged.");
// %1: "3 mappings", %2: the file; then the two that may follow, and how many the list has now.
constexpr const char* importedText = QT_TRANSLATE_NOOP("CommandLine", "Imported %1 from %2");
constexpr const char* appendedText = QT_TRANSLATE_NOOP("CommandLine", ", after the ones you had");
constexpr const char* leftOutText =
    QT_TRANSLATE_NOOP("CommandLine", ", leaving out %1 your list had already");
constexpr const char* nowHasText = QT_TRANSLATE_NOOP("CommandLine", "; the list now has %1.");

std::string tr(const char* text) {
    return translated("CommandLine", text);
}

std::string optionName(Action action) {
    for (const auto& [name, each] : options) {
        if (each == action)
            return name;
    }
    return {};
}

std::string keyboardText(const std::string& keyboardId) {
    return keyboardId == allKeyboardsId ? tr(allKeyboardsText)
                                        : fillIn(tr(oneKeyboardText), {keyboardId});
}

std::string nameOf(const KeyMapping& mapping, const std::string& side) {
    const auto name = mapping.find(side);
    if (name != mapping.end())
        return name->second;
    const auto id = mapping.find(side + "Id");
    return "key id " + (id == mapping.end() ? std::string("?") : id->second);
}

int apply(const CommandLine::Session& session) {
    // The installation refuses such a list without clearing anything; said here, the reason is
    // not taken for hidutil's failure.
    if (!MappingApplier::fitsOneArgument(MappingApplier::composeCommand())) {
        session.err << "keyvane: " << MappingApplier::tooManyMappingsText() << std::endl;
        return 1;
    }
    bool worked = session.install();
    if (!worked)
        session.err << "keyvane: " << translated("MappingApplier", MappingApplier::failedAlertText)
                    << std::endl;
    else if (keyMappings.empty())
        session.out << tr(nothingStoredText) << std::endl;
    // What the status column says, read back from the keyboards: hidutil's answer alone would
    // claim a list that no keyboard took.
    for (std::size_t row = 0; row < keyMappings.size(); ++row) {
        const KeyMapping& mapping = keyMappings[row];
        const std::optional<MappingState> state = MappingStatus::stateOfRow(row);
        session.out << nameOf(mapping, "original") << " -> " << nameOf(mapping, "remapped") << ": "
                    << MappingStatus::describe(state.value_or(MappingState{})) << std::endl;
        worked = worked && state && state->tookEffect();
    }
    if (const auto obstacle = MappingStatus::obstacle(); obstacle && !keyMappings.empty())
        session.err << "keyvane: " << *obstacle << std::endl;
    return worked ? 0 : 1;
}

int restore(const CommandLine::Session& session) {
    const std::string output = ShellRunner::run(MappingApplier::clearingCommand);
    if (output.find(MappingApplier::successMarker) == std::string::npos) {
        session.err << tr(clearingFailedMessage) << std::endl;
        return 1;
    }
    session.out << tr(restoredText) << std::endl;
    session.restored();
    return 0;
}

int list(const CommandLine::Session& session) {
    session.out << fillIn(tr(keyboardLine), {keyboardText(MappingFile::storedKeyboardId())})
                << std::endl;
    for (const KeyMapping& mapping : keyMappings)
        session.out << nameOf(mapping, "original") << " -> " << nameOf(mapping, "remapped")
                    << std::endl;
    return 0;
}

int exportTo(const std::string& file, const CommandLine::Session& session) {
    std::string error;
    if (!MappingFile::write(file, error)) {
        session.err << "keyvane: " << fillIn(tr(cannotExportText), {file, error}) << std::endl;
        return 1;
    }
    session.out << fillIn(tr(exportedText), {mappingsCount(keyMappings.size()),
                                             keyboardText(MappingFile::storedKeyboardId()), file})
                << std::endl;
    return 0;
}

int cannotImport(const std::string& file, const std::string& problem,
                 const CommandLine::Session& session) {
    session.err << "keyvane: " << fillIn(tr(cannotImportText), {file, problem}) << std::endl;
    return 1;
}

int importFrom(const CommandLine::Command& command, const CommandLine::Session& session) {
    const MappingFile::Reading reading = MappingFile::read(command.file);
    for (const std::string& rejected : reading.rejected)
        session.err << "keyvane: " << command.file << ": " << rejected << std::endl;
    if (!reading.problem.empty())
        return cannotImport(command.file, reading.problem, session);
    if (!reading.rejected.empty()) {
        session.err << tr(partlyUnusableMessage) << std::endl;
        return 1;
    }
    const auto how =
        command.append ? MappingFile::Adoption::Append : MappingFile::Adoption::Replace;
    if (const std::string problem = MappingFile::adoptionProblem(reading, how); !problem.empty())
        return cannotImport(command.file, problem, session);
    const std::size_t listed = command.append ? MappingFile::alreadyListed(reading) : 0;
    MappingFile::adopt(reading, how);
    session.listChanged();
    session.out << fillIn(tr(importedText),
                          {mappingsCount(reading.mappings.size() - listed), command.file})
                << (command.append ? tr(appendedText) : "");
    if (listed > 0)
        session.out << fillIn(tr(leftOutText), {mappingsCount(listed)});
    session.out << fillIn(tr(nowHasText), {mappingsCount(keyMappings.size())}) << std::endl;
    return apply(session);
}

// Runs `hidutil status`, its output passed through as it comes.
int status() {
    QProcess hidutil;
    hidutil.setProcessChannelMode(QProcess::ForwardedChannels);
    hidutil.start(contract::program, {contract::commandStatus});
    if (!hidutil.waitForStarted(-1)) {
        warn("cannot run hidutil: " + hidutil.errorString().toStdString());
        return 1;
    }
    hidutil.waitForFinished(-1);
    return hidutil.exitStatus() == QProcess::NormalExit ? hidutil.exitCode() : 1;
}

// An empty line on `input` within the helper's countdown: true for Enter alone; false for a line
// with anything on it ("n"), the end of the input (a script) or no answer in time.
bool waitForEnter(int input) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline =
        Clock::now() + std::chrono::seconds(permanent::countdownSeconds);
    std::string line;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0)
            return false;
        pollfd descriptor{input, POLLIN, 0};
        const int ready = ::poll(&descriptor, 1, static_cast<int>(left));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
            return false;
        char byte = 0;
        const ssize_t got = ::read(input, &byte, 1);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        if (byte == '\n')
            return line.empty();
        if (byte != '\r')
            line += byte;
    }
}

// Without a running copy: the stored settings, and hidutil run from here.
int executeHere(const CommandLine::Command& command) {
    if (command.action == Action::Import && SingleInstance::lockHeld(bundle::appIdentifier)) {
        warn(tr(CommandLine::outOfReachText));
        return 1;
    }
    MappingStore::loadMappings();
    MappingStatus::followInstallations({});
    const CommandLine::Session session{
        std::cout, std::cerr,
        [] {
            const auto installation = MappingApplier::install();
            if (installation.hasBlankId)
                warn(MappingApplier::blankIdAlertText);
            if (!installation.command.empty() && !installation.tooLong)
                MappingStatus::checkSilently();
            return installation.installed();
        },
        [] {}, [] {}};
    return CommandLine::execute(command, session);
}

// With a running copy: it carries the command out and answers with what to print.
int executeInRunningCopy(const CommandLine::Command& command) {
    std::string error;
    const std::optional<CommandService::Answer> answer =
        CommandService::ask(CommandLine::arguments(command), error);
    if (!answer) {
        warn(tr(CommandLine::noAnswerText) + error);
        return 1;
    }
    std::cout << answer->output << std::flush;
    std::cerr << answer->errors << std::flush;
    return answer->status;
}

}  // namespace

std::optional<CommandLine::Command> CommandLine::parse(const std::vector<std::string>& arguments,
                                                       std::string& error) {
    std::optional<Command> command;
    bool append = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const auto option = options.find(argument);
        if (argument == appendOption) {
            append = true;
        } else if (option == options.end()) {
            error = "unknown option \"" + argument + "\"";
            return std::nullopt;
        } else if (command) {
            error = "give one option at a time, not both " + optionName(command->action) + " and " +
                    argument;
            return std::nullopt;
        } else {
            command = Command{option->second, {}, false};
            if (option->second == Action::Export || option->second == Action::Import) {
                // A file name that begins with "-" is taken for a forgotten one ("./-x" works).
                if (i + 1 == arguments.size() || arguments[i + 1].empty() ||
                    arguments[i + 1].front() == '-') {
                    error = argument + " needs a file name";
                    return std::nullopt;
                }
                command->file = arguments[++i];
            }
        }
    }
    if (!command) {
        error = std::string(appendOption) + " goes with --import FILE";
        return std::nullopt;
    }
    if (append && command->action != Action::Import) {
        error = std::string(appendOption) + " goes with --import FILE, not with " +
                optionName(command->action);
        return std::nullopt;
    }
    command->append = append;
    return command;
}

std::vector<std::string> CommandLine::arguments(const Command& command) {
    std::vector<std::string> result{optionName(command.action)};
    if (!command.file.empty())
        result.push_back(command.file);
    if (command.append)
        result.push_back(appendOption);
    return result;
}

int CommandLine::execute(const Command& command, const Session& session) {
    switch (command.action) {
        case Action::Apply:
            return apply(session);
        case Action::Restore:
            return restore(session);
        case Action::List:
            return list(session);
        case Action::Export:
            return exportTo(command.file, session);
        case Action::Import:
            return importFrom(command, session);
        case Action::Status:
        case Action::MakePermanent:
        case Action::RemovePermanent:
        case Action::Help:
        case Action::Version:
            break;
    }
    session.err << "keyvane: " << optionName(command.action) << " is answered by keyvane itself"
                << std::endl;
    return usageError;
}

int CommandLine::executePermanent(const Command& command, const Session& session,
                                  const PermanentHelper& helper, int input) {
    const bool removing = command.action == Action::RemovePermanent;
    if (!removing && keyMappings.empty()) {
        session.err << "keyvane: "
                    << translated("PermanentKeymap", PermanentKeymap::nothingToMakeText)
                    << std::endl;
        return 1;
    }
    std::optional<PermanentKeymap::Result> result;
    QEventLoop loop;
    PermanentKeymap* keymap = nullptr;
    PermanentKeymap::Callbacks callbacks;
    callbacks.changed = [&] {
        session.out << fillIn(translated("PermanentKeymap", PermanentKeymap::keepPrompt),
                              {std::to_string(permanent::countdownSeconds)})
                    << std::endl;
        if (waitForEnter(input))
            keymap->keep();
        else
            keymap->putBack();
    };
    callbacks.finished = [&](const PermanentKeymap::Result& ended) {
        result = ended;
        loop.quit();
    };
    callbacks.errorOutput = [&](const std::string& errors) { session.err << errors << std::flush; };
    PermanentKeymap permanentKeymap(helper, std::move(callbacks));
    keymap = &permanentKeymap;
    if (!keymap->installed()) {
        const auto message = PermanentKeymap::outcomeMessage(
            {PermanentKeymap::Outcome::NotInstalled, helper.path}, removing);
        session.err << "keyvane: " << message.title << ". " << message.text << std::endl;
        return 1;
    }
    const PermanentKeymap::Message question =
        removing ? PermanentKeymap::removeQuestion() : PermanentKeymap::makeQuestion();
    // pkexec asks for the password on the terminal itself; the only answer read here is Enter.
    session.out << question.text << std::endl;
    if (removing)
        keymap->remove();
    else
        keymap->make();
    if (!result)
        loop.exec();
    const PermanentKeymap::Message said = PermanentKeymap::outcomeMessage(*result, removing);
    const bool worked = result->outcome == PermanentKeymap::Outcome::Kept ||
                        result->outcome == PermanentKeymap::Outcome::Removed;
    if (worked)
        session.out << said.title << ". " << said.text << std::endl;
    else if (result->outcome == PermanentKeymap::Outcome::Failed)
        session.err << "keyvane: " << said.title << "." << std::endl;  // the helper said why
    else
        session.err << "keyvane: " << said.title << ". " << said.text << std::endl;
    return worked ? 0 : 1;
}

int CommandLine::main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    installTranslators(QLocale::system());
    bundle::appendProgramFolderToPath();
    std::string error;
    std::optional<Command> command = parse(std::vector<std::string>(argv + 1, argv + argc), error);
    if (!command) {
        std::cerr << "keyvane: " << error << "\n\n" << tr(usage);
        return usageError;
    }
    switch (command->action) {
        case Action::Help:
            std::cout << tr(usage);
            return 0;
        case Action::Version:
            std::cout << "Keyvane " << bundle::shortVersion() << std::endl;
            return 0;
        case Action::Status:
            return status();
        case Action::MakePermanent:
        case Action::RemovePermanent:
            // Never handed to the running copy: the password prompt and the answer belong to
            // this terminal.
            MappingStore::loadMappings();
            return executePermanent(*command, {std::cout, std::cerr, {}, {}, {}},
                                    {bundle::permanentHelperPath(), ::geteuid() != 0},
                                    STDIN_FILENO);
        default:
            break;
    }
    // A running copy may have another working folder: it gets the file's full path.
    if (!command->file.empty())
        command->file = std::filesystem::absolute(command->file).lexically_normal().string();
    if (session_bus::isRunning(bundle::appIdentifier))
        return executeInRunningCopy(*command);
    return executeHere(*command);
}

}  // namespace keyvane
