#include "platform/SingleInstance.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include "platform/SessionBus.h"

namespace keyvane {
namespace {

// A copy that holds the name but does not answer within this time is taken to hang.
constexpr int reopenTimeoutMs = 5000;

}  // namespace

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

SingleInstance::Claim SingleInstance::claim(const std::string& identifier) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return Claim::NoBus;
    // The object comes before the name, so whoever sees the name can call it.
    bus.registerObject(path, this, QDBusConnection::ExportScriptableSlots);
    if (session_bus::claimName(identifier))
        return Claim::First;
    bus.unregisterObject(path);
    return Claim::AlreadyRunning;
}

bool SingleInstance::askToReopen(const std::string& identifier, std::string& error) {
    const QDBusMessage call = QDBusMessage::createMethodCall(QString::fromStdString(identifier),
                                                             path, interface, "Reopen");
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(call, QDBus::Block, reopenTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    error = reply.errorMessage().toStdString();
    return false;
}

void SingleInstance::Reopen() {
    emit reopenRequested();
}

}  // namespace keyvane
