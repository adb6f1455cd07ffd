#pragma once

#include <systemd/sd-bus.h>

#include <string>

namespace keyvane::keymapd {

// Asks polkit, on the system bus, whether the sender of a call may do an action. The subject is
// the sender's unique bus name, which the bus vouches for: nothing a caller says of itself counts.
class Authority {
  public:
    explicit Authority(sd_bus* bus) : bus_(bus) {}

    // True when allowed; otherwise why not, in words for the caller.
    bool allows(const char* sender, const char* action, std::string& why) const;

  private:
    sd_bus* bus_;
};

}  // namespace keyvane::keymapd
