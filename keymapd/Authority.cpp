#include "keymapd/Authority.h"

#include <systemd/sd-bus.h>

#include <cstdint>
#include <cstring>

namespace keyvane::keymapd {
namespace {

constexpr const char* polkitName = "org.freedesktop.PolicyKit1";
constexpr const char* polkitPath = "/org/freedesktop/PolicyKit1/Authority";
constexpr const char* polkitInterface = "org.freedesktop.PolicyKit1.Authority";
// The desktop's authentication agent may ask for a password (auth_admin) before polkit answers.
constexpr std::uint32_t allowUserInteraction = 1;
constexpr std::uint64_t polkitTimeoutUs = 110'000'000;

std::string failure(int result, const sd_bus_error& error) {
    return std::string("polkit could not be asked: ") +
           (error.message ? error.message : std::strerror(-result));
}

}  // namespace

bool Authority::allows(const char* sender, const char* action, std::string& why) const {
    sd_bus_message* call = nullptr;
    sd_bus_message* reply = nullptr;
    sd_bus_error error = SD_BUS_ERROR_NULL;
    int result = sd_bus_message_new_method_call(bus_, &call, polkitName, polkitPath,
                                                polkitInterface, "CheckAuthorization");
    if (result >= 0)
        result = sd_bus_message_append(call, "(sa{sv})sa{ss}us", "system-bus-name", 1, "name", "s",
                                       sender, action, 0, allowUserInteraction, "");
    if (result >= 0)
        result = sd_bus_call(bus_, call, polkitTimeoutUs, &error, &reply);
    int authorized = 0, challenge = 0;
    if (result >= 0)
        result = sd_bus_message_enter_container(reply, 'r', "bba{ss}");
    if (result >= 0)
        result = sd_bus_message_read(reply, "bb", &authorized, &challenge);
    if (result < 0)
        why = failure(result, error);
    else if (!authorized)
        why = "polkit refused the action " + std::string(action) +
              (challenge ? " (it needs an administrator's password, and none was given)" : "");
    sd_bus_error_free(&error);
    sd_bus_message_unref(reply);
    sd_bus_message_unref(call);
    return result >= 0 && authorized;
}

}  // namespace keyvane::keymapd
