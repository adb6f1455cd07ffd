#include "engine/ShellRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <iostream>
#include <mutex>
#include <thread>

extern char** environ;

namespace keyvane {
namespace {

std::string readToEnd(int fd) {
    std::string bytes;
    char buffer[16384];
    for (;;) {
        ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            bytes.append(buffer, static_cast<size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            return bytes;
        }
    }
}

// The exit status is not wanted, but the child must not linger as a zombie. At the end of its
// output a command has usually not exited yet, and it may go on running for as long as it likes,
// so children are reaped by one thread that lives as long as the process, never by the caller.
class Reaper {
  public:
    static void reap(pid_t child) {
        static Reaper* const reaper = new Reaper;  // never destroyed: children may outlive main
        reaper->add(child);
    }

  private:
    Reaper() {
        std::thread([this] { run(); }).detach();
    }

    void add(pid_t child) {
        {
            std::lock_guard lock(mutex_);
            children_.push_back(child);
        }
        added_.notify_one();
    }

    [[noreturn]] void run() {
        for (;;) {
            std::unique_lock lock(mutex_);
            added_.wait(lock, [this] { return !children_.empty(); });
            const pid_t child = children_.front();
            children_.pop_front();
            lock.unlock();
            while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable added_;
    std::deque<pid_t> children_;
};

std::size_t validSequenceLength(const std::string& s, std::size_t i) {
    const auto byte = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    unsigned char lead = byte(i);
    if (lead < 0x80)
        return 1;
    std::size_t length;
    unsigned char low = 0x80, high = 0xBF;  // bounds of the first continuation byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0)
            low = 0xA0;  // overlong
        if (lead == 0xED)
            high = 0x9F;  // surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0)
            low = 0x90;  // overlong
        if (lead == 0xF4)
            high = 0x8F;  // above U+10FFFF
    } else {
        return 0;
    }
    if (i + length > s.size())
        return 0;
    if (byte(i + 1) < low || byte(i + 1) > high)
        return 0;
    for (std::size_t k = 2; k < length; ++k)
        if ((byte(i + k) & 0xC0) != 0x80)
            return 0;
    return length;
}

}  // namespace

std::string decodeUtf8Lossily(std::string bytes) {
    std::size_t i = 0;
    while (i < bytes.size() && validSequenceLength(bytes, i) != 0)
        i += validSequenceLength(bytes, i);
    if (i == bytes.size())
        return bytes;

    std::string text(bytes, 0, i);
    while (i < bytes.size()) {
        std::size_t length = validSequenceLength(bytes, i);
        if (length == 0) {
            text += "\xEF\xBF\xBD";
            ++i;
        } else {
            text.append(bytes, i, length);
            i += length;
        }
    }
    return text;
}

std::string ShellRunner::run(const std::string& commandLine) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
        std::cerr << "keyvane: cannot run " << shellPath << ": pipe: " << std::strerror(errno)
                  << std::endl;
        return {};
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);

    std::string dashC = "-c";
    std::string line = commandLine;
    char* argv[] = {const_cast<char*>(shellPath), dashC.data(), line.data(), nullptr};
    pid_t child = -1;
    int error = ::posix_spawn(&child, shellPath, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    if (error != 0) {
        ::close(pipeFds[0]);
        std::cerr << "keyvane: cannot run " << shellPath << ": " << std::strerror(error)
                  << std::endl;
        return {};
    }
    std::string output = readToEnd(pipeFds[0]);
    ::close(pipeFds[0]);
    Reaper::reap(child);
    return decodeUtf8Lossily(std::move(output));
}

}  // namespace keyvane
