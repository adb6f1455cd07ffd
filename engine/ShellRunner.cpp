#include "engine/ShellRunner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>

#include "common/Log.h"
#include "common/Utf8.h"

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

}  // namespace

std::string ShellRunner::run(const std::string& commandLine) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
        warn(std::string("cannot run ") + shellPath + ": pipe: " + std::strerror(errno));
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
        warn(std::string("cannot run ") + shellPath + ": " + std::strerror(error));
        return {};
    }
    std::string output = readToEnd(pipeFds[0]);
    ::close(pipeFds[0]);
    Reaper::reap(child);
    return decodeUtf8Lossily(std::move(output));
}

}  // namespace keyvane
