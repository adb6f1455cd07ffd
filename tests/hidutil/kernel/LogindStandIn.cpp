// Stands in for logind on the guest's system bus, where no systemd runs: owns
// org.freedesktop.login1 and answers what the keymap service asks of it (ListUsers, seat0's
// ActiveSession and a session's User), and sends what it follows (UserRemoved, and
// PropertiesChanged when seat0's active session changes). The check that starts it logs users in
// and out and switches the seat's session by lines on its standard input, "login UID", "logout
// UID" or "activate UID", each answered "ok" once done, and ends it by closing that input.
//   logind-stand-in UID...    every uid logged in with one session "c<uid>", the first active;
//                             "ready" once it owns its name
#include <pwd.h>
#include <sys/epoll.h>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

namespace {

constexpr const char* name = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* seatPath = "/org/freedesktop/login1/seat/seat0";
constexpr const char* seatInterface = "org.freedesktop.login1.Seat";
constexpr const char* sessionPrefix = "/org/freedesktop/login1/session";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";

struct Logins {
    std::map<uid_t, std::string> users;  // uid -> session id
    std::string active;                  // empty: no session active on the seat
    sd_bus* bus = nullptr;
};

Logins& of(void* data) {
    return *static_cast<Logins*>(data);
}

std::string userPath(uid_t uid) {
    return std::string(managerPath) + "/user/_" + std::to_string(uid);
}

std::string sessionPath(const std::string& id) {
    return std::string(sessionPrefix) + "/" + id;
}

int listUsers(sd_bus_message* call, void* data, sd_bus_error*) {
    sd_bus_message* reply = nullptr;
    int result = sd_bus_message_new_method_return(call, &reply);
    if (result >= 0)
        result = sd_bus_message_open_container(reply, 'a', "(uso)");
    for (const auto& [uid, session] : of(data).users) {
        const passwd* entry = ::getpwuid(uid);
        if (result >= 0)
            result = sd_bus_message_append(reply, "(uso)", uid, entry ? entry->pw_name : "",
                                           userPath(uid).c_str());
    }
    if (result >= 0)
        result = sd_bus_message_close_container(reply);
    if (result >= 0)
        result = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return result;
}

int activeSession(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data,
                  sd_bus_error*) {
    const std::string& active = of(data).active;
    return sd_bus_message_append(reply, "(so)", active.c_str(),
                                 active.empty() ? "/" : sessionPath(active).c_str());
}

// Any object under the session prefix whose id is a logged-in user's session.
int findSession(sd_bus*, const char* path, const char*, void* data, void** found, sd_bus_error*) {
    for (const auto& [uid, session] : of(data).users)
        if (sessionPath(session) == path) {
            *found = data;
            return 1;
        }
    return 0;
}

int sessionUser(sd_bus*, const char* path, const char*, const char*, sd_bus_message* reply,
                void* data, sd_bus_error*) {
    for (const auto& [uid, session] : of(data).users)
        if (sessionPath(session) == path)
            return sd_bus_message_append(reply, "(uo)", uid, userPath(uid).c_str());
    return -ENOENT;
}

int setActive(Logins& logins, const std::string& session) {
    logins.active = session;
    return sd_bus_emit_properties_changed(logins.bus, seatPath, seatInterface, "ActiveSession",
                                          nullptr);
}

std::string sessionOf(std::uint32_t uid) {
    return "c" + std::to_string(uid);
}

// A line on standard input: login (a session, not active), activate (the user's session becomes
// the seat's active one) or logout (the user's last session ends; the seat has no active session
// when it was theirs). The end of the input ends the stand-in.
int command(sd_event_source* source, int, std::uint32_t, void* data) {
    Logins& logins = of(data);
    char verb[16] = {};
    unsigned uid = 0;
    if (std::scanf("%15s %u", verb, &uid) != 2)
        return sd_event_exit(sd_event_source_get_event(source), 0);
    const std::string method = verb;
    if (method == "login")
        logins.users[uid] = sessionOf(uid);
    if (method == "activate")
        setActive(logins, sessionOf(uid));
    if (method == "logout") {
        logins.users.erase(uid);
        sd_bus_emit_signal(logins.bus, managerPath, managerInterface, "UserRemoved", "uo", uid,
                           userPath(uid).c_str());
        if (logins.active == sessionOf(uid))
            setActive(logins, "");
    }
    std::printf("ok\n");
    return std::fflush(stdout);
}

const sd_bus_vtable managerMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("ListUsers", "", "a(uso)", &listUsers, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("UserRemoved", "uo", 0),
    SD_BUS_VTABLE_END,
};
const sd_bus_vtable seatProperties[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("ActiveSession", "(so)", &activeSession, 0,
                    SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
    SD_BUS_VTABLE_END,
};
const sd_bus_vtable sessionProperties[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("User", "(uo)", &sessionUser, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_VTABLE_END,
};

}  // namespace

int main(int argc, char** argv) {
    Logins logins;
    for (int i = 1; i < argc; ++i)
        logins.users[static_cast<uid_t>(std::stoul(argv[i]))] = sessionOf(std::stoul(argv[i]));
    if (argc > 1)
        logins.active = sessionOf(std::stoul(argv[1]));
    sd_event* event = nullptr;
    int result = 0;
    if ((result = sd_event_default(&event)) < 0 || (result = sd_bus_open_system(&logins.bus)) < 0 ||
        (result = sd_bus_attach_event(logins.bus, event, SD_EVENT_PRIORITY_NORMAL)) < 0 ||
        (result = sd_bus_add_object_vtable(logins.bus, nullptr, managerPath, managerInterface,
                                           managerMethods, &logins)) < 0 ||
        (result = sd_bus_add_object_vtable(logins.bus, nullptr, seatPath, seatInterface,
                                           seatProperties, &logins)) < 0 ||
        (result = sd_bus_add_fallback_vtable(logins.bus, nullptr, sessionPrefix, sessionInterface,
                                             sessionProperties, &findSession, &logins)) < 0 ||
        (result = sd_bus_request_name(logins.bus, name, 0)) < 0 ||
        (result = sd_event_add_io(event, nullptr, 0, EPOLLIN, &command, &logins)) < 0 ||
        std::printf("ready\n") < 0 || std::fflush(stdout) != 0 ||
        (result = sd_event_loop(event)) < 0) {
        std::fprintf(stderr, "logind-stand-in: %s\n", std::strerror(-result));
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
