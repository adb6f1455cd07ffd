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

bool isSet(const std::function<const char*(const char*)>& property, const char* name) {
    const char* value = property(name);
    return value && std::strcmp(value, "1") == 0;
}

}  // namespace

std::optional<InputDeviceEvent> UdevInputMonitor::eventOf(
    const char* action, const char* sysname, const char* node,
    const std::function<const char*(const char*)>& property) {
    const auto known = actionOf(action);
    if (!known || !node || !sysname || std::strncmp(sysname, "event", 5) != 0)
        return std::nullopt;
    // udev's ID_INPUT_KEYBOARD counts the key codes a node gives at that moment, so a keyboard
    // whose hwdb (or Keyvane) moved Q or A away is none to it; ID_INPUT_KEY, any key at all, still
    // holds. A mouse, a touchpad or a joystick has neither.
    return InputDeviceEvent{
        *known, node, isSet(property, "ID_INPUT_KEYBOARD") || isSet(property, "ID_INPUT_KEY")};
}

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
        const auto event = eventOf(udev_device_get_action(device), udev_device_get_sysname(device),
                                   udev_device_get_devnode(device), [device](const char* name) {
                                       return udev_device_get_property_value(device, name);
                                   });
        if (event)
            emit deviceEvent(*event);
        udev_device_unref(device);
    }
}

}  // namespace keyvane
