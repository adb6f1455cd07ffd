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
// Where udev runs, it reports a device only once udev's rules have run on it (hwdb's keymap is in
// place and the node has its permissions); elsewhere the device folder is watched directly.
class InputDeviceMonitor : public QObject {
    Q_OBJECT
  public:
    using QObject::QObject;
    // False when it could not start or has stopped; one line on standard error said why.
    virtual bool isMonitoring() const = 0;

  signals:
    void deviceEvent(const keyvane::InputDeviceEvent& event);
};

// udev's monitor where udev runs (/run/udev/control exists), else inotify on /dev/input.
std::unique_ptr<InputDeviceMonitor> systemInputDeviceMonitor();

}  // namespace keyvane
