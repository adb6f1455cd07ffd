#include "hidutil/ServiceClient.h"

#include <systemd/sd-bus.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/AtomicFile.h"
#include "hidutil/EvdevDevices.h"
#include "hidutil/KeymapBus.h"
#include "hidutil/Messages.h"
#include "hidutil/RecordStore.h"

namespace keyvane::hidutil {
namespace {

// A polkit dialog may be on the screen for a while before the service answers.
constexpr std::uint64_t callTimeoutUs = 120'000'000;

struct BusDeleter {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageDeleter {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, BusDeleter>;
using Message = std::unique_ptr<sd_bus_message, MessageDeleter>;

// The method call that does what the command line asks.
int compose(sd_bus* bus, const CommandLine& command, sd_bus_message** call) {
    using Action = CommandLine::Action;
    const char* member = command.action == Action::Set      ? keymapbus::setMapping
                         : command.action == Action::Get    ? keymapbus::getMapping
                         : command.action == Action::Status ? keymapbus::status
                                                            : keymapbus::list;
    int result = sd_bus_message_new_method_call(bus, call, keymapbus::name, keymapbus::path,
                                                keymapbus::interface, member);
    if (result < 0)
        return result;
    const std::string matching = command.matching.value_or("");
    switch (command.action) {
        case Action::Set:
            return sd_bus_message_append(*call, "ss", command.set->c_str(), matching.c_str());
        case Action::Get:
            return sd_bus_message_append(*call, "s", matching.c_str());
        case Action::Status:
            return sd_bus_message_append(*call, "b", command.json);
        default:
            return sd_bus_message_append(*call, "bs", command.keyboardsOnly, matching.c_str());
    }
}

// What hidutil changed in-process in this boot, before the service was installed, goes to the
// service before its first change: a clear through the service then restores it too.
void handOverRecords(sd_bus* bus, std::ostream& err) {
    const auto folder = RecordStore::defaultFolder();
    if (!folder)
        return;
    const RecordStore local(*folder, currentBootId());
    const auto records = local.recordsOfThisBoot();
    if (records.empty())
        return;
    sd_bus_message* call = nullptr;
    int result = sd_bus_message_new_method_call(bus, &call, keymapbus::name, keymapbus::path,
                                                keymapbus::interface, keymapbus::adopt);
    const Message ownedCall(call);
    if (result >= 0)
        result = sd_bus_message_open_container(call, 'a', "(ss)");
    for (const auto& [name, content] : records)
        if (result >= 0)
            result = sd_bus_message_append(call, "(ss)", name.c_str(), content.c_str());
    if (result >= 0)
        result = sd_bus_message_close_container(call);
    sd_bus_message* reply = nullptr;
    if (result >= 0)
        result = sd_bus_call(bus, call, callTimeoutUs, nullptr, &reply);
    const Message ownedReply(reply);
    int status = exitFailure;
    const char* output = "";
    const char* notes = "";
    if (result >= 0 && sd_bus_message_read(reply, "iss", &status, &output, &notes) >= 0)
        err << notes;
    if (status != exitSuccess)
        return;
    for (const auto& record : records)
        local.remove(record.first);
}

}  // namespace

std::optional<int> runThroughService(const CommandLine& command, std::ostream& out,
                                     std::ostream& err) {
    if (command.action == CommandLine::Action::Help || std::getenv(keymapbus::inProcessVariable))
        return std::nullopt;
    sd_bus* opened = nullptr;
    if (sd_bus_open_system(&opened) < 0)
        return std::nullopt;
    const Bus bus(opened);
    if (command.action == CommandLine::Action::Set)
        handOverRecords(bus.get(), err);
    sd_bus_message* call = nullptr;
    if (int result = compose(bus.get(), command, &call); result < 0) {
        sd_bus_message_unref(call);
        err << fill(text::errorService, {keymapbus::name, std::strerror(-result)});
        return exitFailure;
    }
    const Message ownedCall(call);
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call(bus.get(), call, callTimeoutUs, &error, &reply);
    const Message ownedReply(reply);
    // Where the service is not installed, or the bus cannot start it (its files but half installed,
    // as a /usr/local install leaves them), nothing was done: the command runs here instead.
    const bool notInstalled = sd_bus_error_has_name(&error, SD_BUS_ERROR_SERVICE_UNKNOWN) ||
                              sd_bus_error_has_name(&error, SD_BUS_ERROR_NAME_HAS_NO_OWNER);
    // The bus says so itself, or systemd does for the bus when the unit could not start.
    const bool notStarted =
        error.name &&
        (std::string_view(error.name).starts_with("org.freedesktop.DBus.Error.Spawn.") ||
         std::string_view(error.name).starts_with("org.freedesktop.systemd1."));
    if (result < 0 && (notInstalled || notStarted)) {
        if (notStarted)
            err << fill(text::noteServiceNotStarted,
                        {keymapbus::name, error.message ? error.message : ""});
        sd_bus_error_free(&error);
        return std::nullopt;
    }
    if (result < 0) {
        if (sd_bus_error_has_name(&error, keymapbus::notAuthorizedError))
            err << fill(text::errorNotAuthorized, {error.message ? error.message : ""});
        else
            err << fill(text::errorService,
                        {keymapbus::name, error.message ? error.message : std::strerror(-result)});
        sd_bus_error_free(&error);
        return exitFailure;
    }
    int status = exitFailure;
    const char* output = "";
    const char* notes = "";
    if (sd_bus_message_read(reply, "iss", &status, &output, &notes) < 0) {
        err << fill(text::errorService, {keymapbus::name, "an answer of the wrong shape"});
        return exitFailure;
    }
    out << output;
    err << notes;
    // A change answers what became of it too; a service of an earlier version answers nothing more.
    const char* statusJson = "";
    if (command.action == CommandLine::Action::Set && status == exitSuccess &&
        sd_bus_message_read(reply, "s", &statusJson) > 0 && *statusJson)
        if (const auto file = contract::statusFile())
            replaceFileAtomically(*file, statusJson, Sync::None);
    return status;
}

}  // namespace keyvane::hidutil
