#include "app/CommandService.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDialog>
#include <sstream>

#include "app/CommandLine.h"
#include "engine/MappingApplier.h"
#include "platform/Application.h"
#include "platform/Bundle.h"
#include "platform/MainQueue.h"
#include "platform/Translation.h"
#include "ui/capture/KeyboardVC.h"
#include "ui/main/MainVC.h"

namespace keyvane {
namespace {

// An installation on many keyboards takes a while; a copy that has not answered by then hangs.
constexpr int answerTimeoutMs = 60000;

constexpr const char* capturingMessage = QT_TRANSLATE_NOOP(
    "CommandService",
    "keyvane: Keyvane is waiting for a key press in its \"Remap a key\" window, where your keys "
    "must arrive unmapped; finish or cancel there first.\n");
constexpr const char* startingMessage =
    QT_TRANSLATE_NOOP("CommandService", "keyvane: Keyvane is still starting; try again.\n");
constexpr const char* endingMessage = QT_TRANSLATE_NOOP(
    "CommandService",
    "The running Keyvane ended, so that it does not install them again; your list is kept for its "
    "next start.\n");

bool changesInstalledKeys(CommandLine::Action action) {
    return action == CommandLine::Action::Apply || action == CommandLine::Action::Import;
}

}  // namespace

CommandService::CommandService(QObject* parent) : QObject(parent) {}

CommandService::~CommandService() {
    if (registered_)
        QDBusConnection::sessionBus().unregisterObject(path);
}

void CommandService::registerOnBus() {
    registered_ = QDBusConnection::sessionBus().registerObject(
        path, this, QDBusConnection::ExportScriptableSlots);
}

std::optional<CommandService::Answer> CommandService::ask(const std::vector<std::string>& arguments,
                                                          std::string& error) {
    QStringList list;
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(bundle::appIdentifier),
                                                       path, interface, "Run");
    call << list;
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(call, QDBus::Block, answerTimeoutMs);
    const QList<QVariant> values = reply.arguments();
    if (reply.type() != QDBusMessage::ReplyMessage || values.size() != 3) {
        error = reply.errorMessage().toStdString();
        return std::nullopt;
    }
    return Answer{values[0].toInt(), values[1].toString().toStdString(),
                  values[2].toString().toStdString()};
}

int CommandService::Run(const QStringList& arguments, QString& output, QString& errors) {
    std::vector<std::string> list;
    for (const QString& argument : arguments)
        list.push_back(argument.toStdString());
    std::ostringstream out;
    std::ostringstream err;
    std::string error;
    const std::optional<CommandLine::Command> command = CommandLine::parse(list, error);
    int status = 1;
    if (!command) {
        err << "keyvane: " << error << "\n";
        status = CommandLine::usageError;
    } else if (!currentMainVC) {
        err << translated("CommandService", startingMessage);
    } else if (changesInstalledKeys(command->action) && currentKeyboardVC &&
               currentKeyboardVC->window()->isVisible()) {
        err << translated("CommandService", capturingMessage);
    } else {
        const CommandLine::Session session{out, err, [] { return MappingApplier::applyMappings(); },
                                           [] { currentMainVC->showStoredChoices(); },
                                           [&out] {
                                               out << translated("CommandService", endingMessage);
                                               // After the answer has left: this call returns
                                               // first.
                                               MainQueue::async(terminateApplication);
                                           }};
        status = CommandLine::execute(*command, session);
    }
    output = QString::fromStdString(out.str());
    errors = QString::fromStdString(err.str());
    return status;
}

}  // namespace keyvane
