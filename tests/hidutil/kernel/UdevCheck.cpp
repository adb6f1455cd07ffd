// Runs inside the virtual machine, where systemd-udevd runs with an hwdb entry that gives Escape
// for Q on the keyboard of product 0x4444 only: follows the application's udev monitor
// while uhid devices come and udev runs its rules on them, and reads their keymaps back from the
// kernel. Each check prints a marker line on the console, which the host reads.
//   udev-check UDEVADM
#include <fcntl.h>
#include <linux/input.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QProcess>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "GuestCheck.h"
#include "UhidKeyboard.h"
#include "platform/UdevInputMonitor.h"

namespace {

using guest::check;

using keyvane::InputDeviceEvent;
using namespace std::chrono_literals;

constexpr const char* doneMarker = "KEYVANE-UDEV-CHECK DONE ";
constexpr unsigned hwdbProduct = 0x4444;  // the product of the guest's hwdb entry
constexpr unsigned qScancode = 0x70014;   // HID usage page 7, usage 0x14: Q

// Every event the monitor reported, in order.
class Events {
  public:
    explicit Events(keyvane::InputDeviceMonitor& monitor) : monitor_(monitor) {
        QObject::connect(&monitor, &keyvane::InputDeviceMonitor::deviceEvent,
                         [this](const InputDeviceEvent& event) { events_.push_back(event); });
    }

    // The additions and changes of node, which a watcher of keyboards acts on. A removal is left
    // out: udev may still be removing an earlier device of the same node, one of the kernel
    // check's.
    std::vector<InputDeviceEvent> of(const std::string& node) const {
        std::vector<InputDeviceEvent> found;
        for (const InputDeviceEvent& event : events_)
            if (event.node == node && event.action != InputDeviceEvent::Action::Remove)
                found.push_back(event);
        return found;
    }

    bool has(InputDeviceEvent::Action action, const std::string& node) const {
        for (const InputDeviceEvent& event : events_)
            if (event.action == action && event.node == node)
                return true;
        return false;
    }

    // Runs the event loop until the monitor has reported action on node, for at most limit.
    bool waitFor(InputDeviceEvent::Action action, const std::string& node,
                 std::chrono::milliseconds limit) const {
        if (has(action, node))
            return true;
        QEventLoop loop;
        QTimer::singleShot(limit, &loop, &QEventLoop::quit);
        const auto connection =
            QObject::connect(&monitor_, &keyvane::InputDeviceMonitor::deviceEvent, &loop,
                             [&](const InputDeviceEvent&) {
                                 if (has(action, node))
                                     loop.quit();
                             });
        loop.exec();
        QObject::disconnect(connection);
        return has(action, node);
    }

    void clear() { events_.clear(); }

  private:
    keyvane::InputDeviceMonitor& monitor_;
    std::vector<InputDeviceEvent> events_;
};

bool allKeyboards(const std::vector<InputDeviceEvent>& events) {
    return std::all_of(events.begin(), events.end(),
                       [](const auto& event) { return event.keyboard; });
}

bool noKeyboard(const std::vector<InputDeviceEvent>& events) {
    return std::none_of(events.begin(), events.end(),
                        [](const auto& event) { return event.keyboard; });
}

bool udevadm(const QString& program, const QStringList& arguments) {
    std::printf("$ udevadm %s\n", qPrintable(arguments.join(' ')));
    std::fflush(stdout);
    return QProcess::execute(program, arguments) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QString udevadmProgram = argc > 1 ? argv[1] : "/bin/udevadm";
    using Action = InputDeviceEvent::Action;

    keyvane::UdevInputMonitor monitor;
    Events events(monitor);
    check(monitor.isMonitoring(), "udev's monitor is followed");

    // udev reports the keyboard once its rules ran: it is a keyboard, and hwdb's keymap is in
    // place.
    UhidKeyboard keyboard;
    check(keyboard.create(hwdbProduct, BUS_USB, "Keyvane Udev Test Keyboard"),
          "uhid keyboard of product 0x4444 created");
    if (keyboard.event < 0) {
        std::printf("%sfailed\n", doneMarker);
        return 1;
    }
    const std::string node = keyboard.node;
    const bool added = events.waitFor(Action::Add, node, 30s);
    check(added && allKeyboards(events.of(node)), "monitor: " + node + " added, a keyboard");
    check(added && keycodeOf(node, qScancode) == KEY_ESC,
          "hwdb's entry in place when the keyboard is reported: Q gives Escape");
    // Nor does hidutil lose it, although udev no longer calls it a keyboard.
    QProcess listing;
    listing.start("/bin/hidutil", {"list", "-m", "keyboard"});
    check(listing.waitForFinished(30000) && listing.readAllStandardOutput().contains(" 0x4444    "),
          "hidutil lists the keyboard whose Q hwdb moved");
    // ... and tells from udev's database that Q gives Escape by hwdb.
    QProcess status;
    status.start("/bin/hidutil", {"status"});
    check(status.waitForFinished(30000) &&
              status.readAllStandardOutput().contains("\nkey 0x70014 esc hwdb\n"),
          "hidutil status: Q gives Escape by udev's hwdb");

    // Triggering exactly that keyboard runs udev's rules on it again: hwdb's keymap replaces a key
    // changed by ioctl, and the monitor reports the keyboard once.
    check(setKeycode(node, qScancode, KEY_Q) && keycodeOf(node, qScancode) == KEY_Q,
          "Q changed back to Q by ioctl");
    const std::string sysfsPath =
        std::filesystem::canonical("/sys/class/input/" + node.substr(node.rfind('/') + 1));
    events.clear();
    check(
        udevadm(udevadmProgram, {"trigger", "--action=change", QString::fromStdString(sysfsPath)}),
        "udevadm trigger of the keyboard's event node");
    const bool changed = events.waitFor(Action::Change, node, 30s);
    check(changed && allKeyboards(events.of(node)) && keycodeOf(node, qScancode) == KEY_ESC,
          "monitor: " + node + " changed, a keyboard, and Q gives Escape again");
    // Once udev's queue is empty, everything it had to report is in the monitor's socket.
    const bool settled = udevadm(udevadmProgram, {"settle", "--timeout=30"});
    QCoreApplication::processEvents();
    check(changed && settled && events.of(node).size() == 1, "monitor: the keyboard reported once");

    // A mouse has an event node as well, and no watcher of keyboards may take it for one.
    UhidMouse mouse;
    check(mouse.create(0x5555, BUS_USB, "Keyvane Udev Test Mouse"), "uhid mouse created");
    const bool mouseAdded = events.waitFor(Action::Add, mouse.node, 30s);
    check(mouseAdded && noKeyboard(events.of(mouse.node)),
          "monitor: " + mouse.node + " added, not a keyboard");

    return guest::done(doneMarker);
}
