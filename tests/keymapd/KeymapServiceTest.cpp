// The keymap service on a system bus of the test's own, with polkit stood in for: hidutil, run as
// the application runs it, hands its commands to the service, which changes keyboards in memory
// exactly as hidutil does in-process, and only when polkit allows the caller.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "hidutil/Command.h"
#include "hidutil/EvdevDevices.h"
#include "hidutil/KeymapBus.h"
#include "hidutil/RecordStore.h"
#include "keymapd/KeymapService.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/PrivateSystemBus.h"
#include "tests/support/ReadFile.h"

namespace keyvane::keymapd {
namespace {

namespace fs = std::filesystem;
using testing::Entry;
using testing::userKeyMapping;

struct Result {
    int status = -1;
    std::string out, err;
    bool operator==(const Result&) const = default;
};

// A folder of the test's own, made first and removed last.
struct Folder {
    Folder() { fs::create_directories(path); }
    ~Folder() { fs::remove_all(path); }
    const fs::path path =
        fs::temp_directory_path() / ("keymapd-test-" + std::to_string(::getpid()));
};

testing::MemoryDeviceSource sourceOf(std::shared_ptr<testing::MemoryKeyboard> keyboard) {
    testing::MemoryDeviceSource devices;
    devices.keyboards = {std::move(keyboard)};
    devices.bootId = hidutil::currentBootId();
    return devices;
}

class KeymapServiceTest : public ::testing::Test {
  protected:
    // The real hidutil, as the application runs it, on the test's system bus.
    Result hidutil(const std::vector<std::string>& args) {
        const fs::path out = folder.path / "out", err = folder.path / "err";
        std::string command = "DBUS_SYSTEM_BUS_ADDRESS='" + bus.address() + "' " HIDUTIL_PATH;
        for (const std::string& arg : args)
            command += " '" + arg + "'";  // no argument holds a quote
        const int status =
            std::system((command + " >" + out.string() + " 2>" + err.string()).c_str());
        const std::lock_guard lock(serviceThread.serving);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, testing::readFile(out),
                testing::readFile(err)};
    }

    // The same command in this process, on keyboards in the state the service's are in.
    Result inProcess(const std::vector<std::string>& args, const testing::MemoryKeyboard& like) {
        testing::MemoryDeviceSource twin;
        twin.keyboards = {std::make_shared<testing::MemoryKeyboard>(like)};
        const auto outcome = testing::runHidutil(args, twin, folder.path / "in-process");
        return {outcome.status, outcome.out, outcome.err};
    }

    Folder folder;
    std::shared_ptr<testing::MemoryKeyboard> keyboard = testing::hidKeyboard(0x27e, 5);
    testing::MemoryDeviceSource devices = sourceOf(keyboard);
    testing::FakePolkit polkit;
    testing::PrivateSystemBus bus{folder.path};
    std::optional<KeymapService> service;  // made on, and gone after, the thread that serves it
    testing::BusThread polkitThread{bus.address(),
                                    [this](sd_bus* connection) { polkit.serve(connection); }};
    testing::BusThread serviceThread{bus.address(), [this](sd_bus* connection) {
                                         service.emplace(connection, folder.path / "run", devices);
                                         service->attach();
                                         sd_bus_request_name(connection, keymapbus::name, 0);
                                     }};
};

TEST_F(KeymapServiceTest, ChangesOnlyWhatPolkitAllowsAndAnswersAsHidutilInProcess) {
    const std::string list = userKeyMapping({{"0x700000039", "0x700000029"},
                                             {"0x700000068", "0x700000029"},
                                             {"0x7000000", "0x700000029"}});
    const std::vector<std::vector<std::string>> commands = {
        {"property", "--set", list},
        {"status"},
        {"status", "--json"},
        {"list", "-m", "keyboard"},
        {"property", "--get", "UserKeyMapping"},
        {"property", "--set", userKeyMapping({})},
    };
    // Changed in-process before the service was installed: the first command through the service
    // hands the user's record over, and the last clear restores that change too.
    const auto defaultKeymap = keyboard->keymap;
    const auto stateFolder = hidutil::RecordStore::defaultFolder();
    const auto before =
        testing::runHidutil({"property", "--set", userKeyMapping({{"0x700000004", "0x700000005"}})},
                            devices, stateFolder);
    ASSERT_EQ(before.status, hidutil::exitSuccess) << before.err;
    for (const auto& args : commands) {
        const testing::MemoryKeyboard before = *keyboard;
        const Result viaService = hidutil(args);
        const Result here = inProcess(args, before);
        EXPECT_EQ(viaService, here) << args[0] << " " << args.back();
        if (args[0] == "property" && args[1] == "--set") {
            ASSERT_FALSE(polkit.asked.empty());
            EXPECT_EQ(polkit.asked.back().rfind("system-bus-name :", 0), 0u) << polkit.asked.back();
        }
    }
    EXPECT_EQ(keyboard->keymap, defaultKeymap);
    for (const auto& file : fs::directory_iterator(*stateFolder))
        EXPECT_FALSE(file.path().filename().string().starts_with("keymap.")) << file.path();
    ASSERT_EQ(polkit.asked.size(), 3u);
    EXPECT_NE(polkit.asked[0].find(" app.keyvane.keymap.change"), std::string::npos);

    polkit.allow = false;
    const Result refused = hidutil({"property", "--set", list});
    EXPECT_EQ(refused, (Result{1, "",
                               "hidutil: not allowed to change keymaps: polkit refused the action "
                               "app.keyvane.keymap.change\n"}));
    EXPECT_EQ(keyboard->find(0x70039)->keycode, KEY_CAPSLOCK);

    // Nobody can speak for another user: the methods take no identity, and a call that adds one
    // is refused before anything is asked or changed.
    polkit.allow = true;
    sd_bus* caller = nullptr;
    sd_bus_new(&caller);
    sd_bus_set_address(caller, bus.address().c_str());
    sd_bus_set_bus_client(caller, 1);
    sd_bus_start(caller);
    sd_bus_error error = SD_BUS_ERROR_NULL;
    EXPECT_LT(
        sd_bus_call_method(caller, keymapbus::name, keymapbus::path, keymapbus::interface,
                           keymapbus::setMapping, &error, nullptr, "ssu", list.c_str(), "", 0u),
        0);
    EXPECT_STREQ(error.name, SD_BUS_ERROR_INVALID_ARGS);
    sd_bus_error_free(&error);
    sd_bus_flush_close_unref(caller);
    const std::lock_guard lock(serviceThread.serving);
    EXPECT_EQ(polkit.asked.size(), 4u);
    EXPECT_EQ(keyboard->find(0x70039)->keycode, KEY_CAPSLOCK);
}

}  // namespace
}  // namespace keyvane::keymapd
