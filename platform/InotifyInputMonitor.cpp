#include "platform/InotifyInputMonitor.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cerrno>
#include <fstream>
#include <sstream>
#include <system_error>

#include "common/Log.h"
#include "keys/KeyCapabilities.h"

namespace keyvane {
namespace {

constexpr std::string_view fallbackNote =
    "newly plugged keyboards will get the mappings at the next periodic installation";

}  // namespace

InotifyInputMonitor::InotifyInputMonitor(std::filesystem::path folder,
                                         std::filesystem::path sysfsRoot, QObject* parent)
    : InputDeviceMonitor(parent), folder_(std::move(folder)), sysfsRoot_(std::move(sysfsRoot)) {
    fd_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd_ < 0) {
        stopWatching("inotify is not available: " + std::generic_category().message(errno));
        return;
    }
    if (::inotify_add_watch(fd_, folder_.c_str(),
                            IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_ONLYDIR) < 0) {
        const int error = errno;
        // A machine without any input device has no /dev/input at all.
        stopWatching(error == ENOENT ? "it does not exist, as on a machine without input devices"
                                     : std::generic_category().message(error));
        return;
    }
    notifier_ = new QSocketNotifier(fd_, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &InotifyInputMonitor::readEvents);
}

InotifyInputMonitor::~InotifyInputMonitor() {
    // The notifier must let go of the descriptor before it is closed.
    delete notifier_;
    if (fd_ >= 0)
        ::close(fd_);
}

void InotifyInputMonitor::readEvents() {
    using Action = InputDeviceEvent::Action;
    alignas(inotify_event) char buffer[4096];
    for (;;) {
        const ssize_t length = ::read(fd_, buffer, sizeof buffer);
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            return;
        for (const char* at = buffer; at < buffer + length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(at);
            at += sizeof(inotify_event) + event->len;
            if (event->mask & IN_IGNORED) {
                // devtmpfs removes /dev/input with the last input device.
                stopWatching("it has been removed");
                return;
            }
            // Lost events may have held a keyboard.
            if (event->mask & IN_Q_OVERFLOW) {
                emit deviceEvent({Action::Add, folder_.string(), true});
                continue;
            }
            if (event->len == 0 || (event->mask & IN_ISDIR))
                continue;
            const std::string name(event->name);
            if (name.starts_with("event"))
                emit deviceEvent({event->mask & IN_ATTRIB ? Action::Change : Action::Add,
                                  (folder_ / name).string(), isKeyboard(name)});
        }
    }
}

bool InotifyInputMonitor::isKeyboard(const std::string& node) const {
    std::ifstream file(sysfsRoot_ / node / "device" / "capabilities" / "key");
    if (!file)
        return true;
    std::stringstream text;
    text << file.rdbuf();
    if (file.bad())
        return true;
    return capabilitiesHaveEveryLetter(text.str()).value_or(true);
}

void InotifyInputMonitor::stopWatching(const std::string& reason) {
    if (notifier_) {
        // Called from the notifier's own signal when the folder goes away.
        notifier_->setEnabled(false);
        notifier_->deleteLater();
        notifier_ = nullptr;
    }
    warn("not watching " + folder_.string() + " for new keyboards (" + std::string(reason) + "); " +
         std::string(fallbackNote) + ".");
}

}  // namespace keyvane
