#include "keymapd/KeymapService.h"

#include <systemd/sd-bus.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "common/AtomicFile.h"
#include "hidutil/Command.h"
#include "hidutil/EvdevDevices.h"
#include "hidutil/KeymapBus.h"
#include "hidutil/Messages.h"
#include "hidutil/RecordStore.h"
#include "keys/HidutilContract.h"

namespace keyvane::keymapd {
namespace {

constexpr const char* clearText = contract::clearingProperty;
// The last list a user set, as the arguments of its command line, each ended by a NUL.
constexpr const char* lastListFile = "list";
constexpr std::string_view recordPrefix = "keymap.";

std::vector<std::string> setArgs(const std::string& text, const std::string& matching) {
    std::vector<std::string> args = {contract::commandProperty, contract::optionSet, text};
    if (!matching.empty())
        args.insert(args.end(), {contract::optionMatching, matching});
    return args;
}

bool isSet(const std::vector<std::string>& args) {
    return args.size() >= 3 && args[0] == contract::commandProperty &&
           args[1] == contract::optionSet;
}

KeymapService& serviceOf(void* self) {
    return *static_cast<KeymapService*>(self);
}

}  // namespace

KeymapService::KeymapService(sd_bus* bus, std::filesystem::path folder,
                             hidutil::DeviceSource& devices)
    : bus_(bus), folder_(std::move(folder)), devices_(devices), authority_(bus) {}

KeymapService::~KeymapService() {
    sd_bus_slot_unref(slot_);
}

int KeymapService::attach() {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(keymapbus::setMapping, "ss", "isss", &KeymapService::onSetMapping,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD(keymapbus::clear, "", "isss", &KeymapService::onClear,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD(keymapbus::status, "b", "iss", &KeymapService::onStatus,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD(keymapbus::list, "bs", "iss", &KeymapService::onList,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD(keymapbus::getMapping, "s", "iss", &KeymapService::onGetMapping,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD(keymapbus::adopt, "a(ss)", "iss", &KeymapService::onAdopt,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    return sd_bus_add_object_vtable(bus_, &slot_, keymapbus::path, keymapbus::interface, methods,
                                    this);
}

int KeymapService::onSetMapping(sd_bus_message* call, void* self, sd_bus_error*) {
    const char* text = nullptr;
    const char* matching = nullptr;
    if (int result = sd_bus_message_read(call, "ss", &text, &matching); result < 0)
        return result;
    return serviceOf(self).reply(call, setArgs(text, matching), true);
}

int KeymapService::onClear(sd_bus_message* call, void* self, sd_bus_error*) {
    return serviceOf(self).reply(call, setArgs(clearText, ""), true);
}

int KeymapService::onStatus(sd_bus_message* call, void* self, sd_bus_error*) {
    int json = 0;
    if (int result = sd_bus_message_read(call, "b", &json); result < 0)
        return result;
    std::vector<std::string> args = {contract::commandStatus};
    if (json)
        args.emplace_back(contract::optionJson);
    return serviceOf(self).reply(call, args, false);
}

int KeymapService::onList(sd_bus_message* call, void* self, sd_bus_error*) {
    int keyboardsOnly = 0;
    const char* matching = nullptr;
    if (int result = sd_bus_message_read(call, "bs", &keyboardsOnly, &matching); result < 0)
        return result;
    std::vector<std::string> args = {contract::commandList};
    if (keyboardsOnly)
        args.insert(args.end(), {std::string(hidutil::text::optionMatchShort),
                                 std::string(hidutil::text::matchKeyboard)});
    if (*matching)
        args.insert(args.end(), {contract::optionMatching, matching});
    return serviceOf(self).reply(call, args, false);
}

int KeymapService::onGetMapping(sd_bus_message* call, void* self, sd_bus_error*) {
    const char* matching = nullptr;
    if (int result = sd_bus_message_read(call, "s", &matching); result < 0)
        return result;
    std::vector<std::string> args = {contract::commandProperty, contract::optionGet,
                                     contract::userKeyMapping};
    if (*matching)
        args.insert(args.end(), {contract::optionMatching, matching});
    return serviceOf(self).reply(call, args, false);
}

// Who calls is what the bus says of the caller; a change must be allowed by polkit first. A
// positive result means the call was answered (refused) already.
int KeymapService::authorize(sd_bus_message* call, bool changes, uid_t& uid) {
    if (onCall)
        onCall();
    sd_bus_creds* creds = nullptr;
    int result = sd_bus_query_sender_creds(call, SD_BUS_CREDS_EUID | SD_BUS_CREDS_AUGMENT, &creds);
    if (result >= 0)
        result = sd_bus_creds_get_euid(creds, &uid);
    sd_bus_creds_unref(creds);
    if (result < 0)
        return result;
    std::string why;
    if (changes &&
        !authority_.allows(sd_bus_message_get_sender(call), keymapbus::changeAction, why)) {
        const int sent =
            sd_bus_reply_method_errorf(call, keymapbus::notAuthorizedError, "%s", why.c_str());
        return sent < 0 ? sent : 1;
    }
    return 0;
}

int KeymapService::reply(sd_bus_message* call, const std::vector<std::string>& args, bool changes) {
    uid_t uid = 0;
    if (int result = authorize(call, changes, uid); result != 0)
        return result;
    const Answer answer = run(uid, args);
    if (changes && answer.status == hidutil::exitSuccess) {
        std::string joined;
        for (const std::string& arg : args)
            joined += arg + '\0';
        if (auto error = replaceFileAtomically(folderOf(uid) / lastListFile, joined, Sync::None))
            std::cerr << "keyvane-keymapd: cannot keep the list of user " << uid << ": "
                      << error.message() << '\n';
    }
    if (!changes)
        return sd_bus_reply_method_return(call, "iss", answer.status, answer.output.c_str(),
                                          answer.notes.c_str());
    // The status hidutil left beside the user's records goes back with the answer: the folder is
    // root's, and the client writes the user's own copy (see keys/HidutilContract.h). A failed
    // change leaves none to answer, so that the client keeps no status of an earlier one.
    std::string status;
    if (answer.status == hidutil::exitSuccess) {
        std::ifstream in(folderOf(uid) / contract::statusFileName, std::ios::binary);
        status.assign(std::istreambuf_iterator<char>(in), {});
    }
    return sd_bus_reply_method_return(call, "isss", answer.status, answer.output.c_str(),
                                      answer.notes.c_str(), status.c_str());
}

// Records are taken over only into the caller's own folder, and only whole ones of this boot for
// devices the caller has none of there; each one refused is named.
int KeymapService::onAdopt(sd_bus_message* call, void* self, sd_bus_error*) {
    KeymapService& service = serviceOf(self);
    uid_t uid = 0;
    if (int result = service.authorize(call, true, uid); result != 0)
        return result;
    const hidutil::RecordStore store(service.folderOf(uid), hidutil::currentBootId());
    std::string notes;
    int result = sd_bus_message_enter_container(call, 'a', "(ss)");
    const char* name = nullptr;
    const char* content = nullptr;
    while (result > 0 && (result = sd_bus_message_read(call, "(ss)", &name, &content)) > 0)
        if (auto error = store.adopt(name, content))
            notes += "keyvane-keymapd: cannot take over the record " + std::string(name) + ": " +
                     error.message() + "\n";
    if (result < 0)
        return result;
    return sd_bus_reply_method_return(call, "iss", notes.empty() ? 0 : 1, "", notes.c_str());
}

KeymapService::Answer KeymapService::run(uid_t uid, const std::vector<std::string>& args) {
    std::ostringstream output, notes;
    const int status = hidutil::runCommand(args, devices_, folderOf(uid), output, notes);
    return {status, output.str(), notes.str()};
}

std::filesystem::path KeymapService::folderOf(uid_t uid) const {
    return folder_ / std::to_string(uid);
}

std::vector<uid_t> KeymapService::usersWithState() const {
    std::vector<uid_t> users;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder_, error)) {
        const std::string name = entry.path().filename().string();
        if (!name.empty() && name.find_first_not_of("0123456789") == std::string::npos)
            users.push_back(static_cast<uid_t>(std::stoul(name)));
    }
    return users;
}

// What the user changed goes back; their last list stays, to come back with their session.
bool KeymapService::restore(uid_t uid) {
    const Answer answer = run(uid, setArgs(clearText, ""));
    if (answer.status != hidutil::exitSuccess)
        std::cerr << "keyvane-keymapd: restoring the keys of user " << uid << ":\n" << answer.notes;
    return answer.status == hidutil::exitSuccess;
}

void KeymapService::installLastList(uid_t uid) {
    std::ifstream in(folderOf(uid) / lastListFile, std::ios::binary);
    const std::string joined{std::istreambuf_iterator<char>(in), {}};
    std::vector<std::string> args;
    for (std::size_t at = 0, end; (end = joined.find('\0', at)) != std::string::npos; at = end + 1)
        args.push_back(joined.substr(at, end - at));
    if (!isSet(args))
        return;
    const Answer answer = run(uid, args);
    if (answer.status != hidutil::exitSuccess)
        std::cerr << "keyvane-keymapd: installing the list of user " << uid << " again:\n"
                  << answer.notes;
}

// A restore that did not work keeps the user's folder, records and all: the next start of the
// service, which finds the user gone, tries again.
void KeymapService::userRemoved(uid_t uid) {
    if (!restore(uid))
        return;
    std::error_code ignored;
    std::filesystem::remove_all(folderOf(uid), ignored);
}

void KeymapService::restoreEveryone() {
    for (uid_t uid : usersWithState())
        restore(uid);
}

void KeymapService::reconcile(const std::set<uid_t>& present, std::optional<uid_t> active) {
    for (uid_t uid : usersWithState())
        if (!present.contains(uid))
            userRemoved(uid);
    if (!active)
        return;
    for (uid_t uid : usersWithState())
        if (uid != *active)
            restore(uid);
    installLastList(*active);
}

bool KeymapService::holdsChanges() const {
    for (uid_t uid : usersWithState()) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folderOf(uid), error))
            if (entry.path().filename().string().starts_with(recordPrefix))
                return true;
    }
    return false;
}

}  // namespace keyvane::keymapd
