#include "keymapd/ForbiddenTry.h"

#include <linux/input.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "hidutil/EvdevDevices.h"

namespace keyvane::keymapd {
namespace {

void say(std::ostream& err, const char* what, bool failed) {
    const int error = failed ? errno : 0;
    err << "keyvane-keymapd: try " << what << ": errno " << error << " (" << std::strerror(error)
        << ")\n";
}

}  // namespace

int tryForbidden(const char* node, std::ostream& err) {
    const int fd = hidutil::openEventNode(node);
    say(err, "open", fd < 0);
    input_event event{};
    say(err, "read", ::read(fd, &event, sizeof event) < 0);
    unsigned char keys[KEY_MAX / 8 + 1] = {};
    say(err, "EVIOCGKEY", ::ioctl(fd, EVIOCGKEY(sizeof keys), keys) < 0);
    const bool grabbed = ::ioctl(fd, EVIOCGRAB, 1) == 0;
    say(err, "EVIOCGRAB", !grabbed);
    if (grabbed)
        ::ioctl(fd, EVIOCGRAB, 0);
    // A bare report: were it let through, it would change no key's state.
    event.type = EV_SYN;
    event.code = SYN_REPORT;
    say(err, "write", ::write(fd, &event, sizeof event) < 0);
    ::close(fd);
    return EXIT_SUCCESS;
}

}  // namespace keyvane::keymapd
