#include "platform/SessionBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

namespace keyvane::session_bus {

bool available() {
    return QDBusConnection::sessionBus().isConnected();
}

NameClaim claimName(const std::string& identifier, std::string& error) {
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    if (!bus) {
        error = QDBusConnection::sessionBus().lastError().message().toStdString();
        return NameClaim::Refused;
    }
    // Without queueing, a name that is taken stays with its owner and the call fails at once.
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply = bus->registerService(
        QString::fromStdString(identifier), QDBusConnectionInterface::DontQueueService,
        QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid()) {
        error = reply.error().message().toStdString();
        return NameClaim::Refused;
    }
    return reply.value() == QDBusConnectionInterface::ServiceRegistered ? NameClaim::Owned
                                                                        : NameClaim::TakenByAnother;
}

bool isRunning(const std::string& identifier) {
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    if (!bus)
        return false;
    const QDBusReply<bool> reply = bus->isServiceRegistered(QString::fromStdString(identifier));
    return reply.isValid() && reply.value();
}

}  // namespace keyvane::session_bus
