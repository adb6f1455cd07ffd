#pragma once

#include <ostream>

namespace keyvane::keymapd {

// For the kernel test only: with this variable naming an event node, the service tries, under its
// own system call filter, what its filter and its write-only descriptors exist to prevent, says
// how each attempt ended, and exits.
inline constexpr const char* forbiddenTryVariable = "KEYVANE_KEYMAPD_TRY";

// Opens node as the service opens every event node, then tries read(), EVIOCGKEY, EVIOCGRAB and
// write() on it: one line each on err, "keyvane-keymapd: try WHAT: errno N (TEXT)", errno 0 when
// the attempt went through. The exit status of the service.
int tryForbidden(const char* node, std::ostream& err);

}  // namespace keyvane::keymapd
