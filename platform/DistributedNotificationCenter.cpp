#include "platform/DistributedNotificationCenter.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace keyvane {

bool DistributedNotificationCenter::post(const std::string& name, const std::string& object) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusMessage signal = QDBusMessage::createSignal(path, interface, member);
    signal << QString::fromStdString(name) << QString::fromStdString(object);
    if (!bus.send(signal))
        return false;
    // send() only queues the signal. The bus handles a connection's messages in order, so the
    // answer to any call means the signal is out, even if this program ends right after posting.
    bus.interface()->isServiceRegistered(QStringLiteral("org.freedesktop.DBus"));
    return true;
}

DistributedNotificationCenter::DistributedNotificationCenter(QObject* parent) : QObject(parent) {}

bool DistributedNotificationCenter::observe(const std::string& name,
                                            std::function<void(const std::string&)> handler) {
    if (!connected_) {
        connected_ = QDBusConnection::sessionBus().connect(QString(), path, interface, member, this,
                                                           SLOT(deliver(QString, QString)));
        if (!connected_)
            return false;
    }
    handlers_[name] = std::move(handler);
    return true;
}

void DistributedNotificationCenter::deliver(const QString& name, const QString& object) {
    auto handler = handlers_.find(name.toStdString());
    if (handler != handlers_.end())
        handler->second(object.toStdString());
}

}  // namespace keyvane
