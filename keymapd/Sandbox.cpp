#include "keymapd/Sandbox.h"

#include <linux/input.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <array>
#include <memory>

namespace keyvane::keymapd {
namespace {

// The device names and physical paths hidutil reads are at most this long.
constexpr unsigned nameLength = 255;

constexpr std::array allowedIoctls = {
    static_cast<unsigned long>(EVIOCGKEYCODE_V2),
    static_cast<unsigned long>(EVIOCSKEYCODE_V2),
    static_cast<unsigned long>(EVIOCGID),
    static_cast<unsigned long>(EVIOCGNAME(nameLength)),
    static_cast<unsigned long>(EVIOCGPHYS(nameLength)),
    static_cast<unsigned long>(FIONREAD),
    static_cast<unsigned long>(TCGETS),
};
constexpr std::array writers = {SCMP_SYS(write), SCMP_SYS(writev)};
constexpr std::array forbidden = {
    SCMP_SYS(splice),         SCMP_SYS(vmsplice),        SCMP_SYS(tee),
    SCMP_SYS(sendfile),       SCMP_SYS(copy_file_range), SCMP_SYS(io_uring_setup),
    SCMP_SYS(io_uring_enter), SCMP_SYS(io_submit),       SCMP_SYS(pwritev2),
};
// Above every system call number of the native architecture.
constexpr int lastSystemCall = 1024;

struct FilterDeleter {
    void operator()(void* filter) const { seccomp_release(filter); }
};

template <typename List>
bool listed(const List& list, int call) {
    for (int entry : list)
        if (entry == call)
            return true;
    return false;
}

}  // namespace

std::error_code confine() {
    const std::unique_ptr<void, FilterDeleter> filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)));
    if (!filter)
        return std::make_error_code(std::errc::not_enough_memory);
    int result = 0;
    // Every call but those ruled below; numbers the architecture lacks are refused, and skipped.
    for (int call = 0; call < lastSystemCall; ++call)
        if (call != SCMP_SYS(ioctl) && !listed(writers, call) && !listed(forbidden, call))
            seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, 0);
    for (unsigned long request : allowedIoctls)
        result = result < 0 ? result
                            : seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, SCMP_SYS(ioctl), 1,
                                               SCMP_A1(SCMP_CMP_EQ, request));
    for (int call : writers)
        for (scmp_datum_t fd : {1u, 2u})
            result = result < 0 ? result
                                : seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, call, 1,
                                                   SCMP_A0(SCMP_CMP_EQ, fd));
    if (result >= 0)
        result = seccomp_load(filter.get());
    return result < 0 ? std::error_code(-result, std::generic_category()) : std::error_code();
}

}  // namespace keyvane::keymapd
