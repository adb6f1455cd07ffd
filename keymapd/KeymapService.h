#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "hidutil/Device.h"
#include "keymapd/Authority.h"

namespace keyvane::keymapd {

// The keymap service's object on the system bus: hidutil's commands, carried out for whoever calls
// with the keymap code hidutil runs in-process. Each user's changes are kept apart, in a folder of
// their own under the service's folder, so that they can be restored when the user leaves or
// another user's session takes the seat: their records, and the last list they set.
class KeymapService {
  public:
    KeymapService(sd_bus* bus, std::filesystem::path folder, hidutil::DeviceSource& devices);
    ~KeymapService();
    KeymapService(const KeymapService&) = delete;
    KeymapService& operator=(const KeymapService&) = delete;

    // Puts the object on the bus; a negative errno when that fails.
    int attach();

    // Restores the changes of every user not in present, and of every user but the active one,
    // whose last list is installed again.
    void reconcile(const std::set<uid_t>& present, std::optional<uid_t> active);
    void userRemoved(uid_t uid);
    // Every user's changes restored; their last lists kept, for their sessions to bring back.
    void restoreEveryone();
    // Whether any user's change is still in the kernel's keymaps.
    bool holdsChanges() const;

    // Runs after every call, so that the service does not go idle while it is used.
    std::function<void()> onCall;

  private:
    struct Answer {
        int status = 0;
        std::string output, notes;
    };
    Answer run(uid_t uid, const std::vector<std::string>& args);
    bool restore(uid_t uid);
    void installLastList(uid_t uid);
    std::filesystem::path folderOf(uid_t uid) const;
    std::vector<uid_t> usersWithState() const;

    static int onSetMapping(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onClear(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onStatus(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onList(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onGetMapping(sd_bus_message* call, void* self, sd_bus_error* error);
    static int onAdopt(sd_bus_message* call, void* self, sd_bus_error* error);
    // The caller's uid, once polkit allows it to change keymaps if it wants to.
    int authorize(sd_bus_message* call, bool changes, uid_t& uid);
    int reply(sd_bus_message* call, const std::vector<std::string>& args, bool changes);

    sd_bus* bus_;
    std::filesystem::path folder_;
    hidutil::DeviceSource& devices_;
    Authority authority_;
    sd_bus_slot* slot_ = nullptr;
};

}  // namespace keyvane::keymapd
