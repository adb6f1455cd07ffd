#pragma once

#include <QObject>
#include <functional>
#include <map>
#include <string>

namespace keyvane {

// Notifications between the programs of one desktop session: a name and an object (both text),
// sent as one signal on the session bus to every program that observes that name.
class DistributedNotificationCenter : public QObject {
    Q_OBJECT
  public:
    static constexpr const char* path = "/app/keyvane/DistributedNotificationCenter";
    static constexpr const char* interface = "app.keyvane.DistributedNotificationCenter";
    static constexpr const char* member = "Notification";

    // Sends one notification; false when there is no session bus to carry it.
    static bool post(const std::string& name, const std::string& object);

    explicit DistributedNotificationCenter(QObject* parent = nullptr);

    // Calls `handler` on this thread with the object of every notification named `name` that any
    // program posts from now on, for as long as this center lives. False without a session bus.
    bool observe(const std::string& name, std::function<void(const std::string& object)> handler);

  private slots:
    void deliver(const QString& name, const QString& object);

  private:
    std::map<std::string, std::function<void(const std::string&)>> handlers_;
    bool connected_ = false;
};

}  // namespace keyvane
