#include "engine/ShellRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

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
// so children are reaped by one thread that lives as long as the process, never by the caller. It
// waits on every child at once (a pidfd each, readable when that child has ended), so one that
// lingers holds up no other. waitpid(-1) would do the same, but would also take the children of
// Qt's processes and of others in this process from under them.
class Reaper {
  public:
    static void reap(pid_t child) {
        static Reaper* const reaper = new Reaper;  // never destroyed: children may outlive main
        reaper->add(child);
    }

  private:
    struct Child {
        pid_t pid;
        int pidfd;
    };

    Reaper() {
        if (::pipe2(wake_, O_CLOEXEC | O_NONBLOCK) != 0)
            wake_[0] = wake_[1] = -1;
        std::thread([this] { run(); }).detach();
    }

    void add(pid_t child) {
        const int pidfd = static_cast<int>(::syscall(SYS_pidfd_open, child, 0));
        if (pidfd < 0 || wake_[1] < 0) {
            // Without pidfds (a kernel before 5.3) this child gets a waiting thread of its own.
            if (pidfd >= 0)
                ::close(pidfd);
            std::thread([child] { waitFor(child); }).detach();
            return;
        }
        {
            std::lock_guard lock(mutex_);
            added_.push_back({child, pidfd});
        }
        const char one = 1;
        while (::write(wake_[1], &one, 1) < 0 && errno == EINTR) {
        }
    }

    static void waitFor(pid_t child) {
        while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    }

    [[noreturn]] void run() {
        std::vector<Child> children;
        std::vector<pollfd> polled;
        for (;;) {
            polled.assign(1, pollfd{wake_[0], POLLIN, 0});
            for (const Child& child : children)
                polled.push_back({child.pidfd, POLLIN, 0});
            if (::poll(polled.data(), polled.size(), -1) < 0)
                continue;  // EINTR; nothing else can fail with these descriptors
            std::vector<Child> running;
            for (std::size_t i = 0; i < children.size(); ++i) {
                if (polled[i + 1].revents == 0) {
                    running.push_back(children[i]);
                    continue;
                }
                waitFor(children[i].pid);
                ::close(children[i].pidfd);
            }
            children = std::move(running);
            if (polled[0].revents != 0) {
                char drained[64];
                while (::read(wake_[0], drained, sizeof drained) > 0) {
                }
                std::lock_guard lock(mutex_);
                children.insert(children.end(), added_.begin(), added_.end());
                added_.clear();
            }
        }
    }

    int wake_[2] = {-1, -1};
    std::mutex mutex_;
    std::vector<Child> added_;
};

}  // namespace

ShellRunner::Pending::Pending(Pending&& other) noexcept
    : output_(std::exchange(other.output_, -1)), child_(other.child_) {}

ShellRunner::Pending::~Pending() {
    take();
}

std::string ShellRunner::Pending::take() {
    if (output_ < 0)
        return {};
    std::string output = readToEnd(output_);
    ::close(std::exchange(output_, -1));
    Reaper::reap(child_);
    return decodeUtf8Lossily(std::move(output));
}

ShellRunner::Pending ShellRunner::start(const std::string& commandLine) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) {
        warn(std::string("cannot run ") + shellPath + ": pipe: " + std::strerror(errno));
        return {-1, -1};
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
        return {-1, -1};
    }
    return {pipeFds[0], child};
}

std::string ShellRunner::run(const std::string& commandLine) {
    return start(commandLine).take();
}

}  // namespace keyvane
