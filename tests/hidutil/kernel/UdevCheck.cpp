// Runs inside the virtual machine, where systemd-udevd runs with an hwdb entry that gives Escape
// for Q on the keyboard of product 0x4444 only: follows the application's udev monitor
// while uhid devices come and udev runs its rules on them, and reads their keymaps back from the
// kernel. Each check prints a marker line on the console, which the host reads.
//   udev-check UDEVADM
#include <linux/input.h>

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "GuestCheck.h"
#include "UhidKeyboard.h"
#include "platform/UdevInputMonitor.h"

namespace {

using guest::check;
using keyvane::InputDeviceEvent;
using Action = InputDeviceEvent::Action;
using namespace std::chrono_literals;

constexpr const char* doneMarker = "KEYVANE-UDEV-CHECK DONE ";
constexpr unsigned hwdbProduct = 0x4444;  // the product of the guest's hwdb entry
constexpr unsigned qScancode = 0x70014;   // HID usage page 7, usage 0x14: Q

std::vector<InputDeviceEvent> events;  // every event the monitor reported, in order

// The additions and changes of node, which a watcher of keyboards acts on. A removal is left out:
// udev may still be removing an earlier device of the same node, one of the kernel check's.
std::vector<InputDeviceEvent> eventsOf(const std::string& node) {
    std::vector<InputDeviceEvent> found;
    std::copy_if(events.begin(), events.end(), std::back_inserter(found), [&](const auto& event) {
        return event.node == node && event.action != Action::Remove;
    });
    return found;
}

// Runs the event loop until the monitor has reported action on node.
bool reported(Action action, const std::string& node) {
    return guest::waitFor(
        [&] {
            QCoreApplication::processEvents();
            return std::any_of(events.begin(), events.end(), [&](const auto& event) {
                return event.action == action && event.node == node;
            });
        },
        30s);
}

bool keyboards(const std::vector<InputDeviceEvent>& events, bool are = true) {
    return std::all_of(events.begin(), events.end(),
                       [&](const auto& event) { return event.keyboard == are; });
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const std::string udevadm = argc > 1 ? argv[1] : "/bin/udevadm";

    keyvane::UdevInputMonitor monitor;
    QObject::connect(&monitor, &keyvane::InputDeviceMonitor::deviceEvent,
                     [](const InputDeviceEvent& event) { events.push_back(event); });
    check(monitor.isMonitoring(), "udev's monitor is followed");

    // udev reports the keyboard once its rules ran: it is a keyboard, and hwdb's keymap is in
    // place.
    UhidKeyboard keyboard;
    if (!check(keyboard.create(hwdbProduct, BUS_USB, "Keyvane Udev Test Keyboard"),
               "uhid keyboard of product 0x4444 created"))
        return guest::done(doneMarker);
    const std::string node = keyboard.node;
    const bool added = reported(Action::Add, node);
    check(added && keyboards(eventsOf(node)), "monitor: " + node + " added, a keyboard");
    check(added && keycodeOf(node, qScancode) == KEY_ESC,
          "hwdb's entry in place when the keyboard is reported: Q gives Escape");
    // Nor does hidutil lose it, although udev no longer calls it a keyboard, and it tells from
    // udev's database that Q gives Escape by hwdb.
    check(guest::run({"/bin/hidutil", "list", "-m", "keyboard"}).says(" 0x4444    "),
          "hidutil lists the keyboard whose Q hwdb moved");
    check(guest::run({"/bin/hidutil", "status"}).says("\nkey 0x70014 esc hwdb\n"),
          "hidutil status: Q gives Escape by udev's hwdb");

    // Triggering exactly that keyboard runs udev's rules on it again: hwdb's keymap replaces a key
    // changed by ioctl, and the monitor reports the keyboard once.
    check(setKeycode(node, qScancode, KEY_Q) && keycodeOf(node, qScancode) == KEY_Q,
          "Q changed back to Q by ioctl");
    const std::string sysfsPath =
        std::filesystem::canonical("/sys/class/input/" + node.substr(node.rfind('/') + 1));
    events.clear();
    check(guest::run({udevadm, "trigger", "--action=change", sysfsPath}).status == 0,
          "udevadm trigger of the keyboard's event node");
    const bool changed = reported(Action::Change, node);
    check(changed && keyboards(eventsOf(node)) && keycodeOf(node, qScancode) == KEY_ESC,
          "monitor: " + node + " changed, a keyboard, and Q gives Escape again");
    // Once udev's queue is empty, everything it had to report is in the monitor's socket.
    const bool settled = guest::run({udevadm, "settle", "--timeout=30"}).status == 0;
    QCoreApplication::processEvents();
    check(changed && settled && eventsOf(node).size() == 1, "monitor: the keyboard reported once");

    // A mouse has an event node as well, and no watcher of keyboards may take it for one.
    UhidMouse mouse;
    check(mouse.create(0x5555, BUS_USB, "Keyvane Udev Test Mouse"), "uhid mouse created");
    check(reported(Action::Add, mouse.node) && keyboards(eventsOf(mouse.node), false),
          "monitor: " + mouse.node + " added, not a keyboard");

    return guest::done(doneMarker);
}
