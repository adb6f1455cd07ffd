// keyvane-keymapd: the keymap service. Started by the system bus when hidutil first calls it; ends
// after a minute without calls, unless it holds changes of some user, whom it must be there to
// restore when they leave.
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "hidutil/EvdevDevices.h"
#include "hidutil/KeymapBus.h"
#include "keymapd/ForbiddenTry.h"
#include "keymapd/KeymapService.h"
#include "keymapd/Logind.h"
#include "keymapd/Sandbox.h"

namespace {

using namespace keyvane;

constexpr std::uint64_t idleUs = 60'000'000;
// systemd's RuntimeDirectory= names it; it lives as long as the kernel's keymaps: one boot.
constexpr const char* defaultFolder = "/run/keyvane";

int fail(const char* what, int result) {
    std::cerr << "keyvane-keymapd: " << what << ": " << std::strerror(-result) << '\n';
    return EXIT_FAILURE;
}

struct Idle {
    keymapd::KeymapService* service = nullptr;
    sd_event_source* timer = nullptr;
};

int onIdle(sd_event_source* source, std::uint64_t, void* data) {
    auto& idle = *static_cast<Idle*>(data);
    if (!idle.service->holdsChanges())
        return sd_event_exit(sd_event_source_get_event(source), EXIT_SUCCESS);
    return sd_event_source_set_time_relative(source, idleUs) < 0
               ? 0
               : sd_event_source_set_enabled(source, SD_EVENT_ONESHOT);
}

int onTerminate(sd_event_source* source, const signalfd_siginfo*, void* service) {
    static_cast<keymapd::KeymapService*>(service)->restoreEveryone();
    return sd_event_exit(sd_event_source_get_event(source), EXIT_SUCCESS);
}

void reconcile(keymapd::KeymapService& service, const keymapd::Logind& logind) {
    if (const auto users = logind.users())
        service.reconcile(*users, logind.activeUser());
}

}  // namespace

int main() {
    sd_event* event = nullptr;
    sd_bus* bus = nullptr;
    int result = sd_event_default(&event);
    if (result < 0)
        return fail("cannot make an event loop", result);
    if ((result = sd_bus_open_system(&bus)) < 0 ||
        (result = sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL)) < 0)
        return fail("cannot reach the system bus", result);
    if (auto error = keymapd::confine())
        return fail("cannot install its system call filter", -error.value());
    // The kernel test's way to see the filter hold in the service itself.
    if (const char* node = std::getenv(keymapd::forbiddenTryVariable))
        return keymapd::tryForbidden(node, std::cerr);

    const char* folder = std::getenv("RUNTIME_DIRECTORY");
    hidutil::EvdevDeviceSource devices;
    keymapd::KeymapService service(bus, folder && *folder ? folder : defaultFolder, devices);
    keymapd::Logind logind(bus);
    Idle idle{&service};
    if ((result = sd_event_add_time_relative(event, &idle.timer, CLOCK_MONOTONIC, idleUs, 0,
                                             &onIdle, &idle)) < 0)
        return fail("cannot set its idle timer", result);
    service.onCall = [&idle] {
        sd_event_source_set_time_relative(idle.timer, idleUs);
        sd_event_source_set_enabled(idle.timer, SD_EVENT_ONESHOT);
    };
    if ((result = service.attach()) < 0)
        return fail("cannot put its object on the bus", result);
    // Signals sent while the service was stopped are lost: what logind says now counts.
    reconcile(service, logind);
    if ((result = logind.follow([&service](uid_t uid) { service.userRemoved(uid); },
                                [&] { reconcile(service, logind); })) < 0)
        return fail("cannot follow logind", result);
    // Stopped (the package removed or upgraded, the machine shutting down), it leaves no change
    // behind that nothing could restore; the active user's last list comes back with the next
    // start, as after any start.
    sigset_t terminate;
    sigemptyset(&terminate);
    sigaddset(&terminate, SIGTERM);
    sigprocmask(SIG_BLOCK, &terminate, nullptr);
    if ((result = sd_event_add_signal(event, nullptr, SIGTERM, &onTerminate, &service)) < 0)
        return fail("cannot follow its stop", result);
    if ((result = sd_bus_request_name(bus, keymapbus::name, 0)) < 0)
        return fail("cannot own its bus name", result);
    result = sd_event_loop(event);
    sd_bus_flush_close_unref(bus);
    sd_event_unref(event);
    return result < 0 ? fail("its event loop failed", result) : EXIT_SUCCESS;
}
