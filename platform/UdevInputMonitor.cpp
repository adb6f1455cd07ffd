#include "platform/UdevInputMonitor.h"

#include <libudev.h>

#include <QSocketNotifier>
#include <cstring>
#include <optional>

#include "common/Log.h"

namespace keyvane {
namespace {

std::optional<InputDeviceEvent::Action> actionOf(const char* action) {
    using Action = InputDeviceEvent::Action;
    if (!action)
        return std::nullopt;
    if (std::strcmp(action, "add") == 0)
        return Action::Add;
    // udev runs its rules again, hwdb's keymap among them: "udevadm trigger", an hwdb update.
    if (std::strcmp(action, "change") == 0)
        return Action::Change;
    if (std::strcmp(action, "remove") == 0)
        return Action::Remove;
    return std::nullopt;
}

bool isEventNode(udev_device* device) {
    const char* name = udev_device_get_sysname(device);
    return udev_device_get_devnode(device) && name && std::strncmp(name, "event", 5) == 0;
}

bool isSet(udev_device* device, const char* property) {
    const char* value = udev_device_get_property_value(device, property);
    return value && std::strcmp(value, "1") == 0;
}

// udev's ID_INPUT_KEYBOARD counts the key codes a node gives at that moment, so a keyboard whose
// hwdb (or Keyvane) moved Q or A away is none to it; ID_INPUT_KEY, any key at all, still holds.
bool hasKeys(udev_device* device) {
    return isSet(device, "ID_INPUT_KEYBOARD") || isSet(device, "ID_INPUT_KEY");
}

}  // namespace

UdevInputMonitor::UdevInputMonitor(QObject* parent) : InputDeviceMonitor(parent) {
    udev_ = udev_new();
    monitor_ = udev_ ? udev_monitor_new_from_netlink(udev_, "udev") : nullptr;
    if (!monitor_ ||
        udev_monitor_filter_add_match_subsystem_devtype(monitor_, "input", nullptr) < 0 ||
        udev_monitor_enable_receiving(monitor_) < 0) {
        warn("cannot follow udev's monitor of input devices");
        return;
    }
    notifier_ = new QSocketNotifier(udev_monitor_get_fd(monitor_), QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &UdevInputMonitor::readEvents);
}

UdevInputMonitor::~UdevInputMonitor() {
    delete notifier_;
    if (monitor_)
        udev_monitor_unref(monitor_);
    if (udev_)
        udev_unref(udev_);
}

void UdevInputMonitor::readEvents() {
    // The socket does not block: a null device means everything waiting has been read.
    while (udev_device* device = udev_monitor_receive_device(monitor_)) {
        const auto action = actionOf(udev_device_get_action(device));
        if (action && isEventNode(device)) {
            emit deviceEvent({*action, udev_device_get_devnode(device), hasKeys(device)});
        }
        udev_device_unref(device);
    }
}

}  // namespace keyvane
