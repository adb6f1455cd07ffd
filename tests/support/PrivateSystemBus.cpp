#include "tests/support/PrivateSystemBus.h"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <tuple>

#include "tests/support/PrivateSessionBus.h"

namespace keyvane::testing {
namespace {

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
    const std::filesystem::path config = folder / "bus.conf";
    std::ofstream(config) << "<busconfig><type>system</type><listen>unix:path="
                          << (folder / "system_bus_socket").string()
                          << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                             "<allow user=\"*\"/><allow own=\"*\"/>"
                             "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                             "</policy></busconfig>";
    std::tie(address_, daemon_) = startDbusDaemon("--config-file=" + config.string());
}

// The daemon removes its socket as it ends, which must be over before its folder goes.
PrivateSystemBus::~PrivateSystemBus() {
    pollfd exited{static_cast<int>(::syscall(SYS_pidfd_open, daemon_, 0)), POLLIN, 0};
    ::kill(daemon_, SIGTERM);
    ::poll(&exited, 1, -1);
    ::close(exited.fd);
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
