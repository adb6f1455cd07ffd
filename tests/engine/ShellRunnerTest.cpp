#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "engine/ShellRunner.h"

namespace keyvane {
namespace {

// Children of this process that have exited but were not reaped.
int zombieChildren() {
    int zombies = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream stat(entry.path() / "stat");
        std::string line;
        if (!std::getline(stat, line))
            continue;
        auto close = line.rfind(')');
        if (close == std::string::npos)
            continue;
        char state = 0;
        int parent = 0;
        if (std::sscanf(line.c_str() + close + 1, " %c %d", &state, &parent) == 2 &&
            parent == ::getpid() && state == 'Z')
            ++zombies;
    }
    return zombies;
}

TEST(ShellRunner, ReturnsStandardOutputByteExact) {
    EXPECT_EQ(ShellRunner::run("echo only-errors >&2"), "");
    EXPECT_EQ(ShellRunner::run("echo partial; exit 3"), "partial\n");
    EXPECT_EQ(ShellRunner::run("printf 'one\\ntwo\\n\\n\\n'"), "one\ntwo\n\n\n");
    const std::string big = ShellRunner::run("head -c 1000000 /dev/zero | tr '\\0' x");
    EXPECT_EQ(big, std::string(1000000, 'x'));
}

TEST(ShellRunner, InvalidUtf8IsDecodedLossily) {
    EXPECT_EQ(ShellRunner::run("printf 'a\\xffb\\xc3'"),
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD");
    EXPECT_EQ(decodeUtf8Lossily("\xed\xa0\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(decodeUtf8Lossily("\xc0\xaf"), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(decodeUtf8Lossily("\xf0\x9f\x98\x80"), "\xf0\x9f\x98\x80");
}

// Polls for a condition that another process brings about; gives up after ten seconds.
template <typename Condition>
bool eventually(Condition condition) {
    for (int i = 0; i < 1000; ++i) {
        if (condition())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

TEST(ShellRunner, ManyRunsLeaveNoZombie) {
    for (int i = 0; i < 200; ++i)
        ShellRunner::run("exit 1");
    EXPECT_TRUE(eventually([] { return zombieChildren() == 0; }));
}

TEST(ShellRunner, CommandThatClosesItsOutputDoesNotHoldUpTheCaller) {
    const std::filesystem::path home = std::getenv("HOME");
    const std::filesystem::path fifo = home / "release", done = home / "done";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    // The command goes on running after closing its output, until the test releases it.
    EXPECT_EQ(ShellRunner::run("echo before; exec >&-; read line < '" + fifo.string() +
                               "'; echo $$ > '" + done.string() + "'"),
              "before\n");
    std::ofstream(fifo) << "go\n";
    std::string pid;
    ASSERT_TRUE(eventually(
        [&] { return std::getline(std::ifstream(done) >> std::ws, pid) && !pid.empty(); }));
    // Its exit is collected in the background: the process disappears, no zombie stays behind.
    EXPECT_TRUE(eventually([&] { return !std::filesystem::exists("/proc/" + pid); }));
}

}  // namespace
}  // namespace keyvane
