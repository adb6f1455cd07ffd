// Runs inside the virtual machine as root, where Debian's dbus-daemon serves the system bus and
// starts polkitd and the keymap service on demand, and a stand-in for logind that this check
// starts answers for the seat: runs hidutil as users who are not in the group input, as the
// application would, and reads every result back from the kernel. Each check prints a marker line
// on the console.
//   service-check HIDUTIL KEYMAPD LOGIND_STAND_IN
#include <grp.h>
#include <linux/input.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "GuestCheck.h"
#include "UhidKeyboard.h"
#include "keys/HidutilContract.h"

namespace {

using guest::check;
using guest::readFile;
using guest::Result;
using guest::waitFor;
namespace contract = keyvane::contract;

using namespace std::chrono_literals;
using Keymap = std::map<unsigned, unsigned>;

constexpr const char* doneMarker = "KEYVANE-SERVICE-CHECK DONE ";
constexpr const char* serviceName = "app.keyvane.Keymap1";
constexpr const char* serviceUser = "keyvane-keymap";
// The guest's users: polkit's rules allow the first and the third, the second gets the action's
// defaults for a subject in no session.
constexpr uid_t allowed = 1000, refused = 1001, other = 1002;
constexpr unsigned productA = 0x6661, productB = 0x6662;
const std::string rootState = "/run/service-check/root-state";

std::string hidutil = "/bin/hidutil";
std::string keymapd = "/usr/libexec/keyvane-keymapd";
std::string logindStandIn = "/bin/logind-stand-in";

Result runAs(uid_t uid, std::vector<std::string> args, std::vector<std::string> environment = {}) {
    args.insert(args.begin(), hidutil);
    return guest::run(args, uid, environment);
}

// The same command in-process, as root, with records of its own.
Result inProcess(std::vector<std::string> args) {
    return runAs(0, std::move(args),
                 {"KEYVANE_HIDUTIL_IN_PROCESS=1", "XDG_STATE_HOME=" + rootState});
}

const std::string clearList = mapping({});

// The system bus, as root sees it.
struct Bus {
    Bus() { sd_bus_open_system(&bus); }
    ~Bus() { sd_bus_flush_close_unref(bus); }

    // The process that owns name; 0 when none does.
    pid_t pidOf(const char* name) const {
        sd_bus_creds* creds = nullptr;
        pid_t pid = 0;
        if (sd_bus_get_name_creds(bus, name, SD_BUS_CREDS_PID, &creds) >= 0)
            sd_bus_creds_get_pid(creds, &pid);
        sd_bus_creds_unref(creds);
        return pid;
    }

    sd_bus* bus = nullptr;
};

struct Keyboards {
    std::vector<std::string> nodes;  // A, B and the AT keyboard
    std::vector<Keymap> now() const {
        std::vector<Keymap> keymaps;
        for (const std::string& node : nodes)
            keymaps.push_back(keymapOf(node));
        return keymaps;
    }
};

// A keymap with the list's keys changed, as hidutil installs it on a HID keyboard.
Keymap with(Keymap keymap, std::initializer_list<std::pair<unsigned, unsigned>> changes) {
    for (const auto& [usage, keycode] : changes)
        keymap[0x70000 + usage] = keycode;
    return keymap;
}

// udev gives event nodes the group input and mode 0660 once its rules ran on them; the service's
// user is the one member of input, so that the test users reach keyboards through it alone.
void checkAccess(const Keyboards& keyboards) {
    const group* input = ::getgrnam("input");
    const auto ready = [&] {
        return std::all_of(keyboards.nodes.begin(), keyboards.nodes.end(), [&](const auto& node) {
            struct stat status {};
            return ::stat(node.c_str(), &status) == 0 && status.st_uid == 0 &&
                   status.st_gid == input->gr_gid && (status.st_mode & 07777) == 0660;
        });
    };
    check(input && input->gr_mem[0] && input->gr_mem[0] == std::string(serviceUser) &&
              !input->gr_mem[1] && waitFor(ready, 30s),
          "event nodes root:input 0660 by udev's rules; keyvane-keymap in input, no test user");
}

// The service's user, who runs it when it is started by hand rather than by the bus.
uid_t serviceUid() {
    const passwd* user = ::getpwnam(serviceUser);
    return user ? user->pw_uid : 65534;
}

// Under its own filter, with the node open as it opens every node, the service can neither read,
// nor see the keys held down, nor grab, nor write an event.
void checkFilter(const std::string& node) {
    const Result tried = guest::run({keymapd}, serviceUid(), {"KEYVANE_KEYMAPD_TRY=" + node});
    check(tried.status == 0 &&
              tried.err ==
                  "keyvane-keymapd: try open: errno 0 (Success)\n"
                  "keyvane-keymapd: try read: errno 9 (Bad file descriptor)\n"
                  "keyvane-keymapd: try EVIOCGKEY: errno 1 (Operation not permitted)\n"
                  "keyvane-keymapd: try EVIOCGRAB: errno 1 (Operation not permitted)\n"
                  "keyvane-keymapd: try write: errno 1 (Operation not permitted)\n",
          "the service under its filter: read, EVIOCGKEY, EVIOCGRAB and write on " + node +
              " refused");
}

// The service killed by SIGKILL right after its second key change: the install fails, and a clear
// through the service that the bus starts next puts back exactly what was there.
void checkKilled(const Bus& bus, const Keyboards& keyboards, const std::vector<Keymap>& before) {
    guest::Child service({keymapd}, serviceUid(), {"KEYVANE_TEST_KILL_AFTER_CHANGES=2"});
    const bool owned = waitFor([&] { return bus.pidOf(serviceName) > 0; }, 30s);
    const Result install =
        runAs(allowed, {"property", "--set", mapping({{"04", "05"}, {"05", "04"}, {"39", "29"}})});
    const bool killed = service.finish().status == -SIGKILL;
    check(owned && killed && install.status == 1 && keyboards.now() != before,
          "the service killed during an install: hidutil fails, keys changed");
    const Result cleared = runAs(allowed, {"property", "--set", clearList});
    check(cleared.status == 0 && keyboards.now() == before,
          "a clear through the service the bus starts next restores every keymap exactly");
}

// What a way of running hidutil answers and leaves: every command's result and keymaps, the
// status file the install leaves, and whether keyboard A typed Escape for Caps Lock then.
struct Way {
    std::vector<Result> results;
    std::vector<std::vector<Keymap>> keymaps;
    std::string statusFile;
    bool escape = false;
    bool operator==(const Way&) const = default;
};

// ann, not in input, installs, reads the status and clears through the service: the same output,
// exit status and keymaps as root in-process, and the same status file, which ann's hidutil writes
// from the service's answer.
void checkLikeInProcess(const UhidKeyboard& a, const Keyboards& keyboards,
                        const std::vector<Keymap>& before) {
    const auto follow = [&](const auto& run, const std::string& stateHome) {
        Way way;
        for (const std::vector<std::string>& command :
             {std::vector<std::string>{"property", "--set",
                                       mapping({{"39", "29"}, {"e3", "e7"}, {"04", "00"}})},
              {"status"},
              {"property", "--set", clearList}}) {
            way.results.push_back(run(command));
            way.keymaps.push_back(keyboards.now());
            if (way.results.size() > 1)
                continue;
            way.statusFile = readFile(stateHome + "/" + contract::stateFolderName + "/" +
                                      contract::statusFileName);
            way.escape = a.pressesOf(0x39) == std::vector<int>{KEY_ESC};
        }
        return way;
    };
    const passwd* ann = ::getpwuid(allowed);
    const Way service =
        follow([](const auto& command) { return runAs(allowed, command); },
               std::string(ann ? ann->pw_dir : "") + "/" + contract::homeStateFolder);
    const Way here = follow(inProcess, rootState);
    check(service == here && service.escape && !service.statusFile.empty() &&
              service.results[0].installed() && service.keymaps[0] != before &&
              service.keymaps[2] == before,
          "ann through the service: install, status and clear answer, change keymaps and leave "
          "the status file as in-process; A types Escape for Caps Lock");
}

// bob is refused by polkit: one line, exit status 1, no key changed.
void checkRefused(const Keyboards& keyboards, const std::vector<Keymap>& before) {
    const Result refusal = runAs(refused, {"property", "--set", mapping({{"39", "29"}})});
    check(refusal.status == 1 && refusal.out.empty() &&
              refusal.err ==
                  "hidutil: not allowed to change keymaps: polkit refused the action "
                  "app.keyvane.keymap.change (it needs an administrator's password, and none was "
                  "given)\n" &&
              keyboards.now() == before,
          "bob, refused by polkit: one line, exit status 1, no key changed");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 3) {
        hidutil = argv[1];
        keymapd = argv[2];
        logindStandIn = argv[3];
    }
    for (const uid_t uid : {allowed, refused, other})
        if (const passwd* user = ::getpwuid(uid)) {
            ::mkdir(user->pw_dir, 0700);
            ::chown(user->pw_dir, uid, user->pw_gid);
        }
    UhidKeyboard a, b;
    const bool made = a.create(productA, BUS_USB, "Keyvane Service Test Keyboard A") &&
                      b.create(productB, BUS_BLUETOOTH, "Keyvane Service Test Keyboard B");
    const Keyboards keyboards{{a.node, b.node, eventNodeNamed("AT Translated Set 2 keyboard")}};
    Bus bus;
    guest::Child logindChild(
        {logindStandIn, std::to_string(allowed), std::to_string(refused), std::to_string(other)});
    // Logs a user in or out, or gives them the seat, as logind would.
    const auto logind = [&](const std::string& command, uid_t uid) {
        logindChild.answer(command + " " + std::to_string(uid) + "\n");
        return logindChild.line() == "ok";
    };
    if (!check(made && !keyboards.nodes[2].empty() && logindChild.line() == "ready",
               "uhid keyboards A and B created, the logind stand-in on the system bus"))
        return guest::done(doneMarker);
    checkAccess(keyboards);
    const std::vector<Keymap> before = keyboards.now();
    const Keymap& aBefore = before[0];
    const Keymap& bBefore = before[1];

    checkFilter(a.node);
    checkKilled(bus, keyboards, before);
    checkLikeInProcess(a, keyboards, before);
    checkRefused(keyboards, before);

    // cid takes the seat; ann, in a session elsewhere, installs a list on A, cid on B; ann's last
    // session ends, and the seat stays cid's.
    const std::string listA = mapping({{"39", "29"}}), listB = mapping({{"04", "05"}});
    const Keymap aChanged = with(aBefore, {{0x39, KEY_ESC}});
    const Keymap bChanged = with(bBefore, {{0x04, KEY_B}});
    const auto become = [&](const Keymap& aNow, const Keymap& bNow) {
        return waitFor([&] { return keymapOf(a.node) == aNow && keymapOf(b.node) == bNow; });
    };
    const auto installs = [](uid_t uid, const std::string& list, const std::string& product) {
        return runAs(uid,
                     {"property", "--set", list, "--matching", R"({"ProductID": )" + product + "}"})
            .installed();
    };
    check(logind("activate", other) && installs(allowed, listA, "0x6661") &&
              installs(other, listB, "0x6662") && become(aChanged, bChanged) &&
              logind("logout", allowed) && become(aBefore, bChanged),
          "ann's last session ends: ann's keys restored, cid's kept");

    // ann logs in again and takes the seat (cid's list goes), installs again; cid takes the seat
    // (ann's list goes, cid's comes back); ann takes it back.
    const bool swapped = logind("login", allowed) && logind("activate", allowed) &&
                         become(aBefore, bBefore) && installs(allowed, listA, "0x6661") &&
                         logind("activate", other) && become(aBefore, bChanged) &&
                         logind("activate", allowed) && become(aChanged, bBefore);
    check(swapped,
          "the seat goes from cid to ann: cid's keys restored, ann's list installed again");

    // Stopped, as when the package is removed, the service leaves no change behind.
    const pid_t running = bus.pidOf(serviceName);
    const auto gone = [&] { return bus.pidOf(serviceName) == 0 && keymapOf(a.node) == aBefore; };
    check(swapped && running > 0 && ::kill(running, SIGTERM) == 0 && waitFor(gone),
          "the service stopped by SIGTERM: every user's keys restored");

    return guest::done(doneMarker);
}
