#include "tests/support/PrivateSystemBus.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <fstream>
#include <stdexcept>

extern char** environ;

namespace keyvane::testing {
namespace {

constexpr auto startDeadline = std::chrono::seconds(30);
constexpr std::uint64_t waitUs = 50'000;

int checkAuthorization(sd_bus_message* call, void* self, sd_bus_error*) {
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

}  // namespace

PrivateSystemBus::PrivateSystemBus(const std::filesystem::path& folder) {
    const std::filesystem::path config = folder / "bus.conf", socket = folder / "system_bus_socket";
    address_ = "unix:path=" + socket.string();
    std::ofstream(config) << "<busconfig><type>system</type><listen>" << address_
                          << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                             "<allow user=\"*\"/><allow own=\"*\"/>"
                             "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                             "</policy></busconfig>";
    std::string configArg = "--config-file=" + config.string();
    char* argv[] = {const_cast<char*>("dbus-daemon"), configArg.data(),
                    const_cast<char*>("--nofork"), nullptr};
    if (posix_spawnp(&daemon_, "dbus-daemon", nullptr, nullptr, argv, environ) != 0)
        throw std::runtime_error("cannot start dbus-daemon");
    // The daemon listens once its socket exists.
    const auto deadline = std::chrono::steady_clock::now() + startDeadline;
    while (!std::filesystem::exists(socket)) {
        if (std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("dbus-daemon made no socket");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

PrivateSystemBus::~PrivateSystemBus() {
    ::kill(daemon_, SIGTERM);
    ::waitpid(daemon_, nullptr, 0);
}

BusThread::BusThread(const std::string& address, const std::function<void(sd_bus*)>& setUp) {
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
            // Wakes for every message, and now and then to see whether it should stop.
            sd_bus_wait(bus_, waitUs);
        }
    });
}

BusThread::~BusThread() {
    stop_ = true;
    thread_.join();
    sd_bus_flush_close_unref(bus_);
}

void FakePolkit::serve(sd_bus* bus) {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("CheckAuthorization", "(sa{sv})sa{ss}us", "(bba{ss})", &checkAuthorization,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    sd_bus_add_object_vtable(bus, nullptr, "/org/freedesktop/PolicyKit1/Authority",
                             "org.freedesktop.PolicyKit1.Authority", methods, this);
    sd_bus_request_name(bus, "org.freedesktop.PolicyKit1", 0);
}

}  // namespace keyvane::testing
