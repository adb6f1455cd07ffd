#pragma once

#include <QObject>
#include <memory>
#include <string>

namespace keyvane {

// An input device's event node that appeared, changed or went away.
struct InputDeviceEvent {
    enum class Action { Add, Change, Remove };
    Action action = Action::Add;
    std::string node;       // /dev/input/eventN
    bool keyboard = false;  // has keys whose keymap may need installing (or cannot be told)
};

// Reports input device nodes as they come and go, on the event loop of the thread that made it.
// UdevInputMonitor reports a device only once udev's rules have run on it (hwdb's keymap is in
// place and the node has its permissions); InotifyInputMonitor watches the device folder directly.
// Which one runs is the application's choice.
class InputDeviceMonitor : public QObject {
    Q_OBJECT
  public:
    using QObject::QObject;
    // False when it could not start or has stopped; one line on standard error said why.
    virtual bool isMonitoring() const = 0;

  signals:
    void deviceEvent(const keyvane::InputDeviceEvent& event);
};

}  // namespace keyvane
