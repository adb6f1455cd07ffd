#pragma once

#include <functional>
#include <optional>

#include "platform/InputDeviceMonitor.h"

class QSocketNotifier;
struct udev;
struct udev_monitor;

namespace keyvane {

// Follows udev's own monitor (libudev), which passes a device on after its rules ran. Keyboards are
// the event nodes that udev's input_id marks as having keys (ID_INPUT_KEY or ID_INPUT_KEYBOARD).
class UdevInputMonitor : public InputDeviceMonitor {
    Q_OBJECT
  public:
    explicit UdevInputMonitor(QObject* parent = nullptr);
    ~UdevInputMonitor() override;

    bool isMonitoring() const override { return notifier_ != nullptr; }

    // What one report of udev's monitor tells: from its action, the device's name in sysfs, its
    // node and its udev properties (by name; null when unset). Nothing for a device that is no
    // event node, or for an action that cannot change a keymap.
    static std::optional<InputDeviceEvent> eventOf(
        const char* action, const char* sysname, const char* node,
        const std::function<const char*(const char*)>& property);

  private:
    void readEvents();

    udev* udev_ = nullptr;
    udev_monitor* monitor_ = nullptr;
    QSocketNotifier* notifier_ = nullptr;
};

}  // namespace keyvane
