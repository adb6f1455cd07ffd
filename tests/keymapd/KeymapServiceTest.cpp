// The keymap service on a system bus of the test's own, with polkit stood in for: hidutil, run as
// the application runs it, hands its commands to the service, which changes keyboards in memory
// exactly as hidutil does in-process, and only when polkit allows the caller.
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "hidutil/Command.h"
#include "hidutil/KeymapBus.h"
#include "keymapd/KeymapService.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/ReadFile.h"

extern char** environ;

namespace keyvane::keymapd {
namespace {

namespace fs = std::filesystem;
using testing::Entry;
using testing::userKeyMapping;

// A dbus-daemon of the test's own, configured like the system bus but open to every caller, as the
// service's D-Bus policy makes the real one for its methods.
class PrivateSystemBus {
  public:
    explicit PrivateSystemBus(const fs::path& folder) {
        const fs::path config = folder / "bus.conf";
        address_ = "unix:path=" + (folder / "system_bus_socket").string();
        std::ofstream(config) << "<busconfig><type>system</type><listen>" << address_
                              << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                                 "<allow user=\"*\"/><allow own=\"*\"/>"
                                 "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                                 "</policy></busconfig>";
        std::string configArg = "--config-file=" + config.string();
        char* argv[] = {const_cast<char*>("dbus-daemon"), configArg.data(),
                        const_cast<char*>("--nofork"), nullptr};
        posix_spawnp(&daemon_, "dbus-daemon", nullptr, nullptr, argv, environ);
        // The daemon listens once its socket exists.
        while (!fs::exists(folder / "system_bus_socket"))
            std::this_thread::yield();
    }
    ~PrivateSystemBus() {
        ::kill(daemon_, SIGTERM);
        ::waitpid(daemon_, nullptr, 0);
    }
    const std::string& address() const { return address_; }

  private:
    pid_t daemon_ = -1;
    std::string address_;
};

// One connection to the bus served on a thread of its own until destroyed; `serving` is held while
// it handles messages, so that the test reads what a handler changed only between messages.
class BusThread {
  public:
    BusThread(const std::string& address, std::function<void(sd_bus*)> setUp) {
        sd_bus_new(&bus_);
        sd_bus_set_address(bus_, address.c_str());
        sd_bus_set_bus_client(bus_, 1);
        sd_bus_start(bus_);
        setUp(bus_);
        thread_ = std::thread([this] {
            while (!stop_) {
                {
                    const std::lock_guard lock(serving);
                    while (sd_bus_process(bus_, nullptr) > 0) {
                    }
                }
                sd_bus_wait(bus_, 50'000);
            }
        });
    }
    ~BusThread() {
        stop_ = true;
        thread_.join();
        sd_bus_flush_close_unref(bus_);
    }
    std::mutex serving;

  private:
    sd_bus* bus_ = nullptr;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

// polkit's authority, answering every question alike and noting who it was about.
struct FakePolkit {
    std::atomic<bool> allow = true;
    std::vector<std::string> asked;  // "KIND NAME ACTION"

    static int check(sd_bus_message* call, void* self, sd_bus_error*) {
        auto& polkit = *static_cast<FakePolkit*>(self);
        const char* kind = nullptr;
        const char* key = nullptr;
        const char* name = nullptr;
        const char* action = nullptr;
        sd_bus_message_enter_container(call, 'r', "sa{sv}");
        sd_bus_message_read(call, "s", &kind);
        sd_bus_message_enter_container(call, 'a', "{sv}");
        sd_bus_message_read(call, "{sv}", &key, "s", &name);
        sd_bus_message_exit_container(call);
        sd_bus_message_exit_container(call);
        sd_bus_message_read(call, "s", &action);
        polkit.asked.push_back(std::string(kind) + " " + name + " " + action);
        return sd_bus_reply_method_return(call, "(bba{ss})", polkit.allow.load(), 0, 0);
    }

    void serve(sd_bus* bus) {
        static const sd_bus_vtable methods[] = {
            SD_BUS_VTABLE_START(0),
            SD_BUS_METHOD("CheckAuthorization", "(sa{sv})sa{ss}us", "(bba{ss})", &FakePolkit::check,
                          SD_BUS_VTABLE_UNPRIVILEGED),
            SD_BUS_VTABLE_END,
        };
        sd_bus_add_object_vtable(bus, nullptr, "/org/freedesktop/PolicyKit1/Authority",
                                 "org.freedesktop.PolicyKit1.Authority", methods, this);
        sd_bus_request_name(bus, "org.freedesktop.PolicyKit1", 0);
    }
};

struct Result {
    int status = -1;
    std::string out, err;
    bool operator==(const Result&) const = default;
};

class KeymapServiceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / ("keymapd-test-" + std::to_string(::getpid()));
        fs::create_directories(folder_);
        keyboard = testing::hidKeyboard(0x27e, 5);
        devices.keyboards = {keyboard};
        bus_.emplace(folder_);
        polkitThread_.emplace(bus_->address(), [this](sd_bus* bus) { polkit.serve(bus); });
        serviceThread_.emplace(bus_->address(), [this](sd_bus* bus) {
            service_.emplace(bus, folder_ / "run", devices);
            service_->attach();
            sd_bus_request_name(bus, keymapbus::name, 0);
        });
    }
    void TearDown() override {
        serviceThread_.reset();
        service_.reset();
        polkitThread_.reset();
        bus_.reset();
        fs::remove_all(folder_);
    }

    // The real hidutil, as the application runs it, on the test's system bus.
    Result hidutil(const std::vector<std::string>& args) {
        const fs::path out = folder_ / "out", err = folder_ / "err";
        std::vector<std::string> command = {
            "/bin/sh", "-c", "exec \"$0\" \"$@\" >" + out.string() + " 2>" + err.string(),
            HIDUTIL_PATH};
        command.insert(command.end(), args.begin(), args.end());
        std::vector<char*> argv;
        for (auto& arg : command)
            argv.push_back(arg.data());
        argv.push_back(nullptr);
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_->address().c_str(), 1);
        pid_t child = -1;
        int status = -1;
        if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, argv.data(), environ) == 0)
            ::waitpid(child, &status, 0);
        const std::lock_guard lock(serviceThread_->serving);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, testing::readFile(out),
                testing::readFile(err)};
    }

    // The same command in this process, on keyboards in the state the service's are in.
    Result inProcess(const std::vector<std::string>& args, const testing::MemoryKeyboard& like) {
        testing::MemoryDeviceSource twin;
        twin.keyboards = {std::make_shared<testing::MemoryKeyboard>(like)};
        const auto outcome = testing::runHidutil(args, twin, folder_ / "in-process");
        return {outcome.status, outcome.out, outcome.err};
    }

    FakePolkit polkit;
    testing::MemoryDeviceSource devices;
    std::shared_ptr<testing::MemoryKeyboard> keyboard;

  private:
    fs::path folder_;
    std::optional<PrivateSystemBus> bus_;
    std::optional<BusThread> polkitThread_, serviceThread_;
    std::optional<KeymapService> service_;
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
    ASSERT_EQ(polkit.asked.size(), 2u);
    EXPECT_NE(polkit.asked[0].find(" app.keyvane.keymap.change"), std::string::npos);

    polkit.allow = false;
    const Result refused = hidutil({"property", "--set", list});
    EXPECT_EQ(refused, (Result{1, "",
                               "hidutil: not allowed to change keymaps: polkit refused the action "
                               "app.keyvane.keymap.change\n"}));
    EXPECT_EQ(keyboard->find(0x70039)->keycode, KEY_CAPSLOCK);
}

}  // namespace
}  // namespace keyvane::keymapd
