// Linked into the kernel test's keymap service only (ld --wrap=ioctl), never into the shipped one:
// with KEYVANE_TEST_KILL_AFTER_CHANGES=N the process is killed (SIGKILL, as by a crash or the
// out-of-memory killer) right after its Nth key change.
#include <linux/input.h>
#include <signal.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>

extern "C" int __real_ioctl(int fd, unsigned long request, ...);

extern "C" int __wrap_ioctl(int fd, unsigned long request, ...) {
    static long changesLeft = [] {
        const char* changes = std::getenv("KEYVANE_TEST_KILL_AFTER_CHANGES");
        return changes ? std::atol(changes) : -1;
    }();
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    const int result = __real_ioctl(fd, request, argument);
    if (request == EVIOCSKEYCODE_V2 && result == 0 && --changesLeft == 0)
        ::kill(::getpid(), SIGKILL);
    return result;
}
