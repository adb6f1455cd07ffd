#include "platform/InputDeviceWatcher.h"

#include <linux/input-event-codes.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <QTimer>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace keyvane {
namespace {

using namespace std::chrono_literals;

// udev's chmod of a node follows the kernel's creation within milliseconds, and the nodes of one
// device come together; a quiet period this long takes them as one burst.
constexpr auto quietPeriod = 300ms;
// Someone typing on a freshly plugged keyboard must not wait for a busy bus to calm down.
constexpr auto longestWait = 900ms;

constexpr std::string_view fallbackNote =
    "newly plugged keyboards will get the mappings at the next periodic installation";

// The letter codes are scattered over three keyboard rows, so KEY_A..KEY_Z is no range.
constexpr std::array letterKeys = {KEY_A, KEY_B, KEY_C, KEY_D, KEY_E, KEY_F, KEY_G, KEY_H, KEY_I,
                                   KEY_J, KEY_K, KEY_L, KEY_M, KEY_N, KEY_O, KEY_P, KEY_Q, KEY_R,
                                   KEY_S, KEY_T, KEY_U, KEY_V, KEY_W, KEY_X, KEY_Y, KEY_Z};

// The kernel writes a capability bitmap as hexadecimal longs, most significant first, and leaves
// out leading zero words. Nothing when the text is not such a bitmap.
std::optional<bool> hasEveryLetter(const std::string& text) {
    constexpr int bitsPerWord = sizeof(unsigned long) * CHAR_BIT;
    std::vector<unsigned long> words;
    std::istringstream tokens(text);
    for (std::string token; tokens >> token;) {
        unsigned long word = 0;
        auto [end, error] = std::from_chars(token.data(), token.data() + token.size(), word, 16);
        if (error != std::errc() || end != token.data() + token.size())
            return std::nullopt;
        words.push_back(word);
    }
    if (words.empty())
        return std::nullopt;
    for (int key : letterKeys) {
        const std::size_t fromEnd = key / bitsPerWord;
        if (fromEnd >= words.size())
            return false;
        if (((words[words.size() - 1 - fromEnd] >> (key % bitsPerWord)) & 1UL) == 0)
            return false;
    }
    return true;
}

}  // namespace

InputDeviceWatcher::InputDeviceWatcher(std::filesystem::path folder,
                                       std::filesystem::path sysfsRoot, QObject* parent)
    : QObject(parent),
      folder_(std::move(folder)),
      sysfsRoot_(std::move(sysfsRoot)),
      quiet_(new QTimer(this)),
      deadline_(new QTimer(this)) {
    quiet_->setSingleShot(true);
    quiet_->setInterval(quietPeriod);
    deadline_->setSingleShot(true);
    deadline_->setInterval(longestWait);
    connect(quiet_, &QTimer::timeout, this, &InputDeviceWatcher::endBurst);
    connect(deadline_, &QTimer::timeout, this, &InputDeviceWatcher::endBurst);

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
    connect(notifier_, &QSocketNotifier::activated, this, &InputDeviceWatcher::readEvents);
}

InputDeviceWatcher::~InputDeviceWatcher() {
    // The notifier must let go of the descriptor before it is closed.
    delete notifier_;
    if (fd_ >= 0)
        ::close(fd_);
}

bool InputDeviceWatcher::isWatching() const {
    return notifier_ != nullptr;
}

void InputDeviceWatcher::readEvents() {
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
                noteKeyboard();
                continue;
            }
            if (event->len == 0 || (event->mask & IN_ISDIR))
                continue;
            const std::string name(event->name);
            if (name.starts_with("event") && isKeyboard(name))
                noteKeyboard();
        }
    }
}

bool InputDeviceWatcher::isKeyboard(const std::string& node) const {
    std::ifstream file(sysfsRoot_ / node / "device" / "capabilities" / "key");
    if (!file)
        return true;
    std::stringstream text;
    text << file.rdbuf();
    if (file.bad())
        return true;
    return hasEveryLetter(text.str()).value_or(true);
}

void InputDeviceWatcher::noteKeyboard() {
    quiet_->start();
    if (!deadline_->isActive())
        deadline_->start();
}

void InputDeviceWatcher::endBurst() {
    quiet_->stop();
    deadline_->stop();
    emit keyboardAppeared();
}

void InputDeviceWatcher::stopWatching(const std::string& reason) {
    if (notifier_) {
        // Called from the notifier's own signal when the folder goes away.
        notifier_->setEnabled(false);
        notifier_->deleteLater();
        notifier_ = nullptr;
    }
    std::cerr << "keyvane: not watching " << folder_.string() << " for new keyboards (" << reason
              << "); " << fallbackNote << "." << std::endl;
}

}  // namespace keyvane
