#include "keymapd/Logind.h"

#include <systemd/sd-bus.h>

#include <cstdint>
#include <string_view>

namespace keyvane::keymapd {
namespace {

constexpr const char* logindName = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* seatPath = "/org/freedesktop/login1/seat/seat0";
constexpr const char* seatInterface = "org.freedesktop.login1.Seat";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";
constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

}  // namespace

Logind::~Logind() {
    sd_bus_slot_unref(removedSlot_);
    sd_bus_slot_unref(seatSlot_);
}

std::optional<std::set<uid_t>> Logind::users() const {
    sd_bus_message* reply = nullptr;
    if (sd_bus_call_method(bus_, logindName, managerPath, managerInterface, "ListUsers", nullptr,
                           &reply, "") < 0)
        return std::nullopt;
    std::set<uid_t> users;
    std::uint32_t uid = 0;
    const char* name = nullptr;
    const char* path = nullptr;
    int result = sd_bus_message_enter_container(reply, 'a', "(uso)");
    while (result > 0 && (result = sd_bus_message_read(reply, "(uso)", &uid, &name, &path)) > 0)
        users.insert(uid);
    sd_bus_message_unref(reply);
    if (result < 0)
        return std::nullopt;
    return users;
}

std::optional<uid_t> Logind::activeUser() const {
    sd_bus_message* reply = nullptr;
    const char* id = nullptr;
    const char* session = nullptr;
    int result = sd_bus_get_property(bus_, logindName, seatPath, seatInterface, "ActiveSession",
                                     nullptr, &reply, "(so)");
    if (result >= 0)
        result = sd_bus_message_read(reply, "(so)", &id, &session);
    std::optional<uid_t> user;
    sd_bus_message* userReply = nullptr;
    std::uint32_t uid = 0;
    const char* userPath = nullptr;
    // A seat without an active session names the root object.
    if (result >= 0 && session && std::string_view(session) != "/" &&
        sd_bus_get_property(bus_, logindName, session, sessionInterface, "User", nullptr,
                            &userReply, "(uo)") >= 0 &&
        sd_bus_message_read(userReply, "(uo)", &uid, &userPath) >= 0)
        user = uid;
    sd_bus_message_unref(userReply);
    sd_bus_message_unref(reply);
    return user;
}

int Logind::follow(std::function<void(uid_t)> userRemoved, std::function<void()> activeChanged) {
    userRemoved_ = std::move(userRemoved);
    activeChanged_ = std::move(activeChanged);
    const int result =
        sd_bus_match_signal(bus_, &removedSlot_, logindName, managerPath, managerInterface,
                            "UserRemoved", &Logind::onUserRemoved, this);
    if (result < 0)
        return result;
    return sd_bus_match_signal(bus_, &seatSlot_, logindName, seatPath, propertiesInterface,
                               "PropertiesChanged", &Logind::onSeatChanged, this);
}

int Logind::onUserRemoved(sd_bus_message* signal, void* self, sd_bus_error*) {
    std::uint32_t uid = 0;
    const char* path = nullptr;
    if (sd_bus_message_read(signal, "uo", &uid, &path) >= 0)
        static_cast<Logind*>(self)->userRemoved_(uid);
    return 0;
}

// Any change of the seat's properties is worth a look; ActiveSession is the one that matters.
int Logind::onSeatChanged(sd_bus_message*, void* self, sd_bus_error*) {
    static_cast<Logind*>(self)->activeChanged_();
    return 0;
}

}  // namespace keyvane::keymapd
