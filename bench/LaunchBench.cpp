// Keyvane's start as a user meets it, measured from the X server's own events: from starting
// `keyvane` until the server maps a window of that very process (its _NET_WM_PID), as a ratio to
// the same time of a bare Qt window with a menu bar and a table started in the same run, and the
// memory of that process once it runs in the background (window closed as a window manager closes
// it, and after a login launch through keyvane-launcher, which never shows the window). Memory is
// given as resident (RSS) and proportional (PSS, shared pages divided among their users) size.
//   launch_bench KEYVANE KEYVANE_LAUNCHER PEER RUNS     (bench/launch-bench sets up the session)
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

// How long a process is left alone in the background before its memory is read: long enough for
// the start's work (reports, first installation) to be done.
constexpr auto backgroundSettle = std::chrono::seconds(1);
constexpr auto deadline = std::chrono::seconds(20);

[[noreturn]] void fail(const std::string& why) {
    std::cerr << "launch_bench: " << why << std::endl;
    std::exit(1);
}

// Starts `program` with its output discarded: Keyvane's trace is not what is measured.
pid_t spawn(const std::string& program) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t pid = 0;
    char* argv[] = {const_cast<char*>(program.c_str()), nullptr};
    const int error = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        fail("cannot start " + program);
    return pid;
}

void stop(pid_t pid) {
    ::kill(pid, SIGTERM);
    ::waitpid(pid, nullptr, 0);
}

struct Memory {
    long rssKiB = 0;
    long pssKiB = 0;
};

Memory memoryOf(pid_t pid) {
    std::ifstream rollup("/proc/" + std::to_string(pid) + "/smaps_rollup");
    Memory memory;
    for (std::string line; std::getline(rollup, line);) {
        if (line.starts_with("Rss:"))
            memory.rssKiB = std::atol(line.c_str() + 4);
        else if (line.starts_with("Pss:"))
            memory.pssKiB = std::atol(line.c_str() + 4);
    }
    if (memory.rssKiB == 0)
        fail("cannot read the memory of process " + std::to_string(pid));
    return memory;
}

class XServer {
  public:
    XServer() : connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection_))
            fail("cannot reach the X server in DISPLAY");
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        // Top-level windows are created on the root; their own maps are watched from there on.
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
        pidAtom_ = atom("_NET_WM_PID");
        protocolsAtom_ = atom("WM_PROTOCOLS");
        deleteAtom_ = atom("WM_DELETE_WINDOW");
        xcb_flush(connection_);
    }
    ~XServer() { xcb_disconnect(connection_); }
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    // Waits for the server to map a top-level window of `pid`; returns that window. A reparenting
    // window manager moves the window into a frame of its own before mapping it, and the root then
    // hears only of the frame: the window's own map is what every window manager leaves alone.
    xcb_window_t awaitMapped(pid_t pid) {
        return awaitEvent(XCB_MAP_NOTIFY, [&](xcb_generic_event_t* event) {
            auto* mapped = reinterpret_cast<xcb_map_notify_event_t*>(event);
            return !mapped->override_redirect && pidOf(mapped->window) == pid ? mapped->window
                                                                              : XCB_NONE;
        });
    }

    // Asks the window to close, as a window manager's close button does, and waits until it is
    // unmapped.
    void close(xcb_window_t window) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = protocolsAtom_;
        message.data.data32[0] = deleteAtom_;
        message.data.data32[1] = XCB_CURRENT_TIME;
        xcb_send_event(connection_, false, window, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(connection_);
        awaitEvent(XCB_UNMAP_NOTIFY, [&](xcb_generic_event_t* event) {
            auto* unmapped = reinterpret_cast<xcb_unmap_notify_event_t*>(event);
            return unmapped->window == window ? window : XCB_NONE;
        });
    }

  private:
    xcb_atom_t atom(const char* name) {
        std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
            xcb_intern_atom_reply(connection_,
                                  xcb_intern_atom(connection_, false, strlen(name), name), nullptr),
            &std::free);
        if (!reply)
            fail(std::string("no atom ") + name);
        return reply->atom;
    }

    pid_t pidOf(xcb_window_t window) {
        std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
            xcb_get_property_reply(
                connection_,
                xcb_get_property(connection_, false, window, pidAtom_, XCB_ATOM_CARDINAL, 0, 1),
                nullptr),
            &std::free);
        if (!reply || xcb_get_property_value_length(reply.get()) != 4)
            return 0;
        return static_cast<pid_t>(*static_cast<uint32_t*>(xcb_get_property_value(reply.get())));
    }

    template <typename Match>
    xcb_window_t awaitEvent(uint8_t type, Match match) {
        const auto until = Clock::now() + deadline;
        while (Clock::now() < until) {
            std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> event(
                xcb_poll_for_event(connection_), &std::free);
            if (!event) {
                if (xcb_connection_has_error(connection_))
                    fail("the X server went away");
                std::this_thread::sleep_for(std::chrono::microseconds(200));
                continue;
            }
            const uint8_t kind = event->response_type & 0x7f;
            if (kind == XCB_CREATE_NOTIFY)
                if (auto mapped = watch(reinterpret_cast<xcb_create_notify_event_t*>(event.get()));
                    type == XCB_MAP_NOTIFY && mapped && match(mapped.get()) != XCB_NONE)
                    return reinterpret_cast<xcb_map_notify_event_t*>(mapped.get())->window;
            if (kind == type)
                if (xcb_window_t window = match(event.get()); window != XCB_NONE)
                    return window;
        }
        fail("the X server did not report the window in time");
    }

    // Asks for the new top-level window's own map and unmap events, wherever it is moved. Should
    // it already be mapped by the time the server has the request, no event comes: that map is
    // returned as one, seen now.
    std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> watch(
        const xcb_create_notify_event_t* created) {
        std::unique_ptr<xcb_generic_event_t, decltype(&std::free)> none(nullptr, &std::free);
        if (created->parent != root_ || created->override_redirect)
            return none;
        const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, created->window, XCB_CW_EVENT_MASK, &mask);
        std::unique_ptr<xcb_get_window_attributes_reply_t, decltype(&std::free)> attributes(
            xcb_get_window_attributes_reply(
                connection_, xcb_get_window_attributes(connection_, created->window), nullptr),
            &std::free);
        if (!attributes || attributes->map_state == XCB_MAP_STATE_UNMAPPED)
            return none;
        auto* mapped = static_cast<xcb_map_notify_event_t*>(std::calloc(1, 32));
        mapped->response_type = XCB_MAP_NOTIFY;
        mapped->event = mapped->window = created->window;
        return {reinterpret_cast<xcb_generic_event_t*>(mapped), &std::free};
    }

    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_NONE;
    xcb_atom_t pidAtom_ = XCB_NONE, protocolsAtom_ = XCB_NONE, deleteAtom_ = XCB_NONE;
};

// The keyvane a login launch started: the launcher's child, which came to us when the launcher
// ended, since this process adopts orphans.
pid_t adoptedKeyvane() {
    const std::string self = std::to_string(::getpid());
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream stat(entry.path() / "stat");
        std::string pid, name, state, parent;
        if (stat >> pid >> name >> state >> parent && parent == self && name == "(keyvane)")
            return std::stoi(pid);
    }
    fail("the login launch left no keyvane running");
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[(values.size() - 1) / 2];
}

std::string summary(std::vector<double> values, const char* unit) {
    std::sort(values.begin(), values.end());
    auto number = [](double value) { return std::to_string(static_cast<long>(value + 0.5)); };
    return "median " + number(values[(values.size() - 1) / 2]) + " " + unit + ", min " +
           number(values.front()) + ", max " + number(values.back()) + " (" +
           std::to_string(values.size()) + " runs)";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5)
        fail("usage: launch_bench KEYVANE KEYVANE_LAUNCHER PEER RUNS");
    const std::string keyvane = argv[1], launcher = argv[2], peer = argv[3];
    const int runs = std::max(1, std::atoi(argv[4]));
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    XServer server;

    // The peer starts just before Keyvane in every run, so that both meet the same load of a
    // shared machine.
    std::vector<double> launchMs, peerMs, closedRss, closedPss, loginRss, loginPss;
    for (int run = 0; run < runs; ++run) {
        auto start = Clock::now();
        const pid_t peerPid = spawn(peer);
        const xcb_window_t peerWindow = server.awaitMapped(peerPid);
        peerMs.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        server.close(peerWindow);
        stop(peerPid);

        start = Clock::now();
        const pid_t pid = spawn(keyvane);
        const xcb_window_t window = server.awaitMapped(pid);
        launchMs.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        server.close(window);
        std::this_thread::sleep_for(backgroundSettle);
        const Memory memory = memoryOf(pid);
        closedRss.push_back(memory.rssKiB);
        closedPss.push_back(memory.pssKiB);
        stop(pid);
    }
    for (int run = 0; run < runs; ++run) {
        ::waitpid(spawn(launcher), nullptr, 0);
        const pid_t pid = adoptedKeyvane();
        std::this_thread::sleep_for(backgroundSettle);
        const Memory memory = memoryOf(pid);
        loginRss.push_back(memory.rssKiB);
        loginPss.push_back(memory.pssKiB);
        stop(pid);
    }
    char ratio[16];
    std::snprintf(ratio, sizeof ratio, "%.2f", median(launchMs) / median(peerMs));
    std::cout << "launch to window mapped:            " << summary(launchMs, "ms") << "\n"
              << "bare Qt window (menu bar, table):   " << summary(peerMs, "ms") << "\n"
              << "launch / bare window (medians):     " << ratio << "x\n"
              << "window closed, resident (RSS):      " << summary(closedRss, "KiB") << "\n"
              << "window closed, proportional (PSS):  " << summary(closedPss, "KiB") << "\n"
              << "login launch, resident (RSS):       " << summary(loginRss, "KiB") << "\n"
              << "login launch, proportional (PSS):   " << summary(loginPss, "KiB") << std::endl;
}
