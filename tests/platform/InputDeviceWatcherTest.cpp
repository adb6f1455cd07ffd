#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <climits>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "platform/InotifyInputMonitor.h"
#include "platform/InputDeviceWatcher.h"
#include "platform/UdevInputMonitor.h"
#include "tests/support/FakeInputDeviceMonitor.h"

namespace keyvane {
namespace {

namespace fs = std::filesystem;
using Action = InputDeviceEvent::Action;

// A watcher fed by a fake monitor, and the signals it gave.
struct Watched {
    testing::FakeInputDeviceMonitor* devices = new testing::FakeInputDeviceMonitor;
    InputDeviceWatcher watcher{std::unique_ptr<InputDeviceMonitor>(devices)};
    QSignalSpy spy{&watcher, &InputDeviceWatcher::keyboardsChanged};
};

TEST(InputDeviceWatcher, KeyboardsAddedOrChangedGiveOneSignalPerBurst) {
    using Report = std::tuple<Action, int, bool>;  // the node /dev/input/eventN, whether a keyboard
    const struct {
        const char* what;
        std::vector<Report> reports;
        int expected;
    } rows[] = {
        {"a keyboard with three nodes",
         {{Action::Add, 3, true}, {Action::Add, 4, true}, {Action::Change, 3, true}},
         1},
        {"udev ran its rules again on a keyboard", {{Action::Change, 3, true}}, 1},
        {"a mouse and a power button, a keyboard unplugged",
         {{Action::Add, 7, false}, {Action::Change, 8, false}, {Action::Remove, 3, true}},
         0},
    };
    for (const auto& row : rows) {
        Watched watched;
        for (const auto& [action, event, keyboard] : row.reports)
            watched.devices->report(action, "/dev/input/event" + std::to_string(event), keyboard);
        // Waits for the expected count, then long enough for any further signal to show.
        if (QTest::qWaitFor([&] { return watched.spy.count() >= row.expected; }, 20000))
            QTest::qWait(1500);
        EXPECT_EQ(watched.spy.count(), row.expected) << row.what;
    }
}

// Someone typing on a freshly plugged keyboard does not wait for a busy bus to calm down: events
// that never pause still give a signal.
TEST(InputDeviceWatcher, ABurstThatGoesOnStillGivesASignal) {
    Watched watched;
    QTimer reports;
    reports.callOnTimeout([&] { watched.devices->report(Action::Add, "/dev/input/event3", true); });
    reports.start(100);
    EXPECT_TRUE(watched.spy.wait(20000));
}

// The kernel's text of a key capability bitmap: hexadecimal longs, most significant first.
std::string keyBitmap(const std::vector<int>& keys) {
    constexpr int bitsPerWord = sizeof(unsigned long) * CHAR_BIT;
    std::vector<unsigned long> words(KEY_MAX / bitsPerWord + 1);
    for (int key : keys)
        words[key / bitsPerWord] |= 1UL << (key % bitsPerWord);
    std::ostringstream text;
    text << std::hex;
    for (auto word = words.rbegin(); word != words.rend(); ++word)
        text << *word << (word + 1 == words.rend() ? "\n" : " ");
    return text.str();
}

// Where no udev runs: event nodes appearing in the folder, and whether sysfs makes them keyboards.
TEST(InotifyInputMonitor, ReportsEventNodesAndTellsKeyboardsBySysfs) {
    const fs::path home = std::getenv("HOME"), devices = home / "input", sysfs = home / "sys";
    fs::create_directories(devices);
    InotifyInputMonitor monitor(devices, sysfs);
    ASSERT_TRUE(monitor.isMonitoring());
    std::vector<std::pair<Action, bool>> seen;
    QObject::connect(
        &monitor, &InputDeviceMonitor::deviceEvent,
        [&](const InputDeviceEvent& event) { seen.emplace_back(event.action, event.keyboard); });
    std::vector<int> keyboardKeys(KEY_MICMUTE - KEY_ESC + 1);
    std::iota(keyboardKeys.begin(), keyboardKeys.end(), KEY_ESC);
    std::vector<int> withoutQ = keyboardKeys;
    std::erase(withoutQ, KEY_Q);
    const std::pair<const char*, std::string> nodes[] = {
        {"event1", keyBitmap({BTN_LEFT, BTN_RIGHT, BTN_MIDDLE})},
        {"event2", keyBitmap(withoutQ)},
        {"event3", keyBitmap(keyboardKeys)},
        {"event4", "not a bitmap\n"},  // cannot be told: counts as a keyboard
        {"event5", ""},                // no capabilities in sysfs: the same
        {"mouse0", ""},
        {"js0", ""}};
    for (const auto& [name, capabilities] : nodes) {
        if (!capabilities.empty()) {
            const fs::path file = sysfs / name / "device" / "capabilities" / "key";
            fs::create_directories(file.parent_path());
            std::ofstream(file) << capabilities;
        }
        std::ofstream(devices / name).flush();
    }
    fs::create_directory(devices / "by-id");
    fs::permissions(devices / "event3", fs::perms::owner_read);  // udev's chmod
    std::ofstream(home / "event6").flush();
    fs::rename(home / "event6", devices / "event6");
    ASSERT_TRUE(QTest::qWaitFor([&] { return seen.size() >= 7; }, 20000));
    QTest::qWait(300);
    const auto added = [](bool keyboard) { return std::pair{Action::Add, keyboard}; };
    EXPECT_EQ(seen, (std::vector{added(false), added(false), added(true), added(true), added(true),
                                 std::pair{Action::Change, true}, added(true)}));
}

// Where udev runs: only event nodes, and keyboards by the keys udev's input_id found on them.
TEST(UdevInputMonitor, TellsKeyboardsByUdevsInputProperties) {
    const struct {
        const char* action;
        const char* sysname;
        const char* property;  // the one set to "1" beside ID_INPUT
        std::optional<std::pair<Action, bool>> reported;
    } rows[] = {
        {"add", "event3", "ID_INPUT_KEYBOARD", {{Action::Add, true}}},
        // Its letters moved away, but keys all the same; a power button has keys too.
        {"change", "event3", "ID_INPUT_KEY", {{Action::Change, true}}},
        {"add", "event7", "ID_INPUT_MOUSE", {{Action::Add, false}}},
        {"add", "event8", "ID_INPUT_JOYSTICK", {{Action::Add, false}}},
        {"remove", "event3", "", {{Action::Remove, false}}},
        {"add", "mouse0", "ID_INPUT_KEYBOARD", std::nullopt},
        {"bind", "event3", "ID_INPUT_KEYBOARD", std::nullopt},
    };
    for (const auto& row : rows) {
        const std::string node = std::string("/dev/input/") + row.sysname;
        const auto event = UdevInputMonitor::eventOf(
            row.action, row.sysname, node.c_str(), [&](const char* name) -> const char* {
                return std::string(name) == row.property || std::string(name) == "ID_INPUT"
                           ? "1"
                           : nullptr;
            });
        ASSERT_EQ(event.has_value(), row.reported.has_value()) << row.action << row.sysname;
        if (event) {
            EXPECT_EQ(std::tuple(event->action, event->keyboard, event->node),
                      std::tuple(row.reported->first, row.reported->second, node));
        }
    }
}

TEST(InotifyInputMonitor, AMissingFolderIsNotWatchedAndSaysSoOnce) {
    const fs::path absent = fs::path(std::getenv("HOME")) / "no-input";
    ::testing::internal::CaptureStderr();
    InotifyInputMonitor monitor(absent);
    const std::string error = ::testing::internal::GetCapturedStderr();
    EXPECT_FALSE(monitor.isMonitoring());
    EXPECT_THAT(error, ::testing::HasSubstr(absent.string()));
    EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 1);
}

}  // namespace
}  // namespace keyvane
