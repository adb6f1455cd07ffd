#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <functional>
#include <optional>
#include <set>

namespace keyvane::keymapd {

// What logind says on the system bus of who is logged in and whose session is active on the seat:
// asked when the service starts (signals sent while it was stopped are lost), followed afterwards.
class Logind {
  public:
    explicit Logind(sd_bus* bus) : bus_(bus) {}
    ~Logind();
    Logind(const Logind&) = delete;
    Logind& operator=(const Logind&) = delete;

    // Nothing when logind cannot be asked.
    std::optional<std::set<uid_t>> users() const;
    // The user of seat0's active session; nothing when no session is active there.
    std::optional<uid_t> activeUser() const;

    // A user's last session ended; the seat's active session changed.
    int follow(std::function<void(uid_t)> userRemoved, std::function<void()> activeChanged);

  private:
    static int onUserRemoved(sd_bus_message* signal, void* self, sd_bus_error* error);
    static int onSeatChanged(sd_bus_message* signal, void* self, sd_bus_error* error);

    sd_bus* bus_;
    sd_bus_slot* removedSlot_ = nullptr;
    sd_bus_slot* seatSlot_ = nullptr;
    std::function<void(uid_t)> userRemoved_;
    std::function<void()> activeChanged_;
};

}  // namespace keyvane::keymapd
