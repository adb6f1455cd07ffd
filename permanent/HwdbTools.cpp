#include "permanent/HwdbTools.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

#include "common/Text.h"

namespace keyvane::permanent {
namespace {

namespace fs = std::filesystem;

constexpr const char* cleanEnvironment[] = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C",
                                            nullptr};
constexpr const char* etcDatabase = "/etc/udev/hwdb.bin";
constexpr const char* dmiModalias = "/sys/class/dmi/id/modalias";

// Runs a program to its end, its standard output into `output` when asked for and its standard
// error passed through; its exit status, or a sentence saying why there is none.
bool run(const std::vector<std::string>& arguments, std::string* output, std::string& problem) {
    int pipeFds[2] = {-1, -1};
    if (output && ::pipe2(pipeFds, O_CLOEXEC) != 0) {
        problem = std::string("cannot make a pipe: ") + std::strerror(errno);
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (output)
        posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    else
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(),
                                    const_cast<char* const*>(cleanEnvironment));
    posix_spawn_file_actions_destroy(&actions);
    if (output) {
        ::close(pipeFds[1]);
        char buffer[4096];
        ssize_t got = 0;
        while (spawned == 0 && ((got = ::read(pipeFds[0], buffer, sizeof buffer)) > 0 ||
                                (got < 0 && errno == EINTR)))
            if (got > 0)
                output->append(buffer, static_cast<std::size_t>(got));
        ::close(pipeFds[0]);
    }
    if (spawned != 0) {
        problem = "cannot run " + arguments[0] + ": " + std::strerror(spawned);
        return false;
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return true;
    problem = fillIn("\"%1\" failed (%2)",
                     {arguments[0] + " " + arguments[1],
                      WIFEXITED(status) ? "exit status " + std::to_string(WEXITSTATUS(status))
                                        : "ended by signal " + std::to_string(WTERMSIG(status))});
    return false;
}

// A device description the match line selects, for asking the compiled database.
std::string lookupFor(const std::string& match) {
    if (match != atKeyboardMatch)
        return match.substr(0, match.size() - 1) + "e0000-";
    std::ifstream dmi(dmiModalias);
    std::string modalias;
    std::getline(dmi, modalias);
    return "evdev:atkbd:" + (modalias.empty() ? std::string("dmi:") : modalias);
}

std::set<std::string> expectedProperties(const HwdbRecord& record) {
    std::set<std::string> lines;
    HwdbFile alone{false, {record}};
    for (const std::string& line : splitKeepingEmpty(formatHwdbFile(alone), '\n'))
        if (line.starts_with(" "))
            lines.insert(line.substr(1));
    return lines;
}

std::set<std::string> answeredProperties(const std::string& answer) {
    std::set<std::string> lines;
    for (const std::string& line : splitKeepingEmpty(answer, '\n'))
        if (!line.empty())
            lines.insert(line);
    return lines;
}

class ScratchRoot {
  public:
    ScratchRoot() {
        // Root's own folder: nobody else can place anything in the way.
        std::string pattern = "/run/keyvane-hwdb.XXXXXX";
        if (::mkdtemp(pattern.data()))
            path_ = pattern;
    }
    ~ScratchRoot() {
        std::error_code ignored;
        if (!path_.empty())
            fs::remove_all(path_, ignored);
    }
    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

}  // namespace

bool HwdbTools::validate(const HwdbFile& file, std::string& problem) const {
    ScratchRoot root;
    const fs::path folder = root.path() / "etc/udev/hwdb.d";
    std::error_code error;
    fs::create_directories(folder, error);
    std::ofstream(folder / "70-keyvane.hwdb") << formatHwdbFile(file);
    if (root.path().empty() || error) {
        problem = "cannot make a scratch folder to compile the file in";
        return false;
    }
    if (!run({systemdHwdb, "update", "--strict", "--root", root.path().string()}, nullptr, problem))
        return false;
    for (const HwdbRecord& record : file.records) {
        std::string answer;
        if (!run({systemdHwdb, "query", lookupFor(record.match), "--root", root.path().string()},
                 &answer, problem))
            return false;
        if (answeredProperties(answer) != expectedProperties(record)) {
            problem = "the compiled file does not give the keys written under " + record.match;
            return false;
        }
    }
    return true;
}

bool HwdbTools::update(std::string& problem) const {
    std::vector<std::string> command{systemdHwdb, "update", "--strict"};
    if (!fs::exists(etcDatabase))
        command.push_back("--usr");
    return run(command, nullptr, problem);
}

bool HwdbTools::trigger(const std::vector<std::string>& syspaths, std::string& problem) const {
    // udev looks for a new database at most every few seconds, and never while it is busy.
    if (!run({udevadm, "control", "--reload"}, nullptr, problem))
        return false;
    std::vector<std::string> command{udevadm, "trigger", "--action=change", "--settle"};
    command.insert(command.end(), syspaths.begin(), syspaths.end());
    return run(command, nullptr, problem);
}

}  // namespace keyvane::permanent
