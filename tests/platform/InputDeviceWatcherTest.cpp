#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <climits>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/InputDeviceWatcher.h"

namespace keyvane {
namespace {

namespace fs = std::filesystem;

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

// The keys of a full-size keyboard, from Esc to Mic Mute.
std::vector<int> keyboardKeys() {
    std::vector<int> keys;
    for (int key = KEY_ESC; key <= KEY_MICMUTE; ++key)
        keys.push_back(key);
    return keys;
}

class InputDeviceWatcherTest : public ::testing::Test {
  protected:
    InputDeviceWatcherTest() {
        fs::create_directories(devices);
        watcher = std::make_unique<InputDeviceWatcher>(devices, sysfs);
        spy = std::make_unique<QSignalSpy>(watcher.get(), &InputDeviceWatcher::keyboardAppeared);
    }

    void addNode(const std::string& name, const std::string& capabilities = {}) {
        if (!capabilities.empty()) {
            const fs::path file = sysfs / name / "device" / "capabilities" / "key";
            fs::create_directories(file.parent_path());
            std::ofstream(file) << capabilities;
        }
        std::ofstream(devices / name).flush();
    }

    // Waits for the expected count, then long enough for any further signal to show.
    int signalsAfterBursts(int expected) {
        if (QTest::qWaitFor([&] { return spy->count() >= expected; }, 5000))
            QTest::qWait(1500);
        return spy->count();
    }

    const fs::path home = std::getenv("HOME");
    const fs::path devices = home / "input";
    const fs::path sysfs = home / "sys";
    std::unique_ptr<InputDeviceWatcher> watcher;
    std::unique_ptr<QSignalSpy> spy;
};

TEST_F(InputDeviceWatcherTest, EachBurstOfNewNodesGivesOneSignal) {
    ASSERT_TRUE(watcher->isWatching());
    for (const char* name : {"event3", "event4", "event5"}) {
        addNode(name);
        fs::permissions(devices / name, fs::perms::owner_read | fs::perms::group_read);
    }
    EXPECT_EQ(signalsAfterBursts(1), 1);

    std::ofstream(home / "event6").flush();
    fs::rename(home / "event6", devices / "event6");
    EXPECT_EQ(signalsAfterBursts(2), 2) << "moved in";

    fs::permissions(devices / "event3", fs::perms::owner_read);
    EXPECT_EQ(signalsAfterBursts(3), 3) << "mode changed by udev";
}

TEST_F(InputDeviceWatcherTest, OtherNodesAndFoldersGiveNoSignal) {
    addNode("mouse0");
    addNode("js0");
    fs::create_directory(devices / "by-id");
    EXPECT_EQ(signalsAfterBursts(0), 0);

    addNode("event0");
    EXPECT_EQ(signalsAfterBursts(1), 1);
}

TEST_F(InputDeviceWatcherTest, OnlyDevicesWithEveryLetterKeyAreKeyboards) {
    std::vector<int> withoutQ = keyboardKeys();
    std::erase(withoutQ, KEY_Q);
    addNode("event1", keyBitmap({BTN_LEFT, BTN_RIGHT, BTN_MIDDLE}));
    addNode("event2", keyBitmap(withoutQ));
    EXPECT_EQ(signalsAfterBursts(0), 0);

    addNode("event3", keyBitmap(keyboardKeys()));
    EXPECT_EQ(signalsAfterBursts(1), 1);

    addNode("event4", "not a bitmap\n");
    EXPECT_EQ(signalsAfterBursts(2), 2) << "unreadable capabilities count as a keyboard";
}

TEST_F(InputDeviceWatcherTest, AnEndlessBurstStillSignalsWhileItLasts) {
    for (int n = 0; n < 25; ++n) {
        addNode("event" + std::to_string(n));
        QTest::qWait(100);
    }
    EXPECT_GE(spy->count(), 1);
}

TEST_F(InputDeviceWatcherTest, AMissingFolderIsNotWatchedAndSaysSoOnce) {
    ::testing::internal::CaptureStderr();
    InputDeviceWatcher absent(home / "no-input");
    const std::string error = ::testing::internal::GetCapturedStderr();
    EXPECT_FALSE(absent.isWatching());
    EXPECT_THAT(error, ::testing::HasSubstr((home / "no-input").string()));
    EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 1);
}

}  // namespace
}  // namespace keyvane
