#include "GuestCheck.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

namespace guest {
namespace {

int failures = 0;

std::string readAll(int fd) {
    std::string text;
    char buffer[4096];
    for (ssize_t n; (n = ::read(fd, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(n));
    return text;
}

std::string userName(uid_t uid) {
    const passwd* user = ::getpwuid(uid);
    return user ? user->pw_name : std::to_string(uid);
}

// In the child, after fork.
[[noreturn]] void exec(const std::vector<std::string>& args, uid_t uid,
                       const std::vector<std::string>& environment) {
    if (uid != 0) {
        const passwd* user = ::getpwuid(uid);
        if (!user || ::initgroups(user->pw_name, user->pw_gid) != 0 ||
            ::setgid(user->pw_gid) != 0 || ::setuid(uid) != 0)
            ::_exit(126);
        ::clearenv();
        ::setenv("PATH", "/usr/bin:/bin", 1);
        ::setenv("HOME", user->pw_dir, 1);
    }
    for (const std::string& variable : environment)
        ::putenv(const_cast<char*>(variable.c_str()));
    std::vector<char*> argv;
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    ::alarm(120);
    ::execv(argv[0], argv.data());
    ::_exit(127);
}

}  // namespace

bool check(bool ok, const std::string& what) {
    std::printf("%s%s\n", ok ? "KEYVANE-CHECK PASS " : "KEYVANE-CHECK FAIL ", what.c_str());
    std::fflush(stdout);
    failures += !ok;
    return ok;
}

int done(const char* doneMarker) {
    std::printf("%s%s\n", doneMarker, failures == 0 ? "ok" : "failed");
    std::fflush(stdout);
    return failures == 0 ? 0 : 1;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

bool waitFor(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    for (const auto end = std::chrono::steady_clock::now() + limit; !done();) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}

bool Result::says(const std::string& text) const {
    return out.find(text) != std::string::npos || err.find(text) != std::string::npos;
}

// Standard error goes to a file in memory, so that nothing waits for it to be read.
Child::Child(const std::vector<std::string>& args, uid_t uid,
             const std::vector<std::string>& environment)
    : command_(userName(uid) + "$") {
    for (const std::string& arg : args)
        command_ += " '" + arg + "'";
    int input[2], output[2];
    err_ = ::memfd_create("stderr", MFD_CLOEXEC);
    if (err_ < 0 || ::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0)
        return;
    pid_ = ::fork();
    if (pid_ == 0) {
        ::dup2(input[0], 0);
        ::dup2(output[1], 1);
        ::dup2(err_, 2);
        exec(args, uid, environment);
    }
    ::close(input[0]);
    ::close(output[1]);
    in_ = input[1];
    out_ = output[0];
}

std::string Child::line() {
    const std::size_t start = output_.size();
    for (char c = 0; ::read(out_, &c, 1) == 1;) {
        output_ += c;
        if (c == '\n')
            return output_.substr(start, output_.size() - start - 1);
    }
    return output_.substr(start);
}

void Child::answer(const std::string& text) {
    if (::write(in_, text.data(), text.size()) < 0)
        std::perror("answer");
}

void Child::closeInput() {
    if (in_ >= 0)
        ::close(in_);
    in_ = -1;
}

Result Child::finish() {
    closeInput();
    output_ += readAll(out_);
    int status = 0;
    const bool started = pid_ > 0 && ::waitpid(pid_, &status, 0) == pid_;
    ::lseek(err_, 0, SEEK_SET);
    const int exit = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    const Result result{started ? exit : 127, output_, readAll(err_)};
    ::close(out_);
    ::close(err_);
    std::printf("%s\n%s%s[exit %d]\n", command_.c_str(), result.out.c_str(), result.err.c_str(),
                result.status);
    std::fflush(stdout);
    return result;
}

}  // namespace guest
