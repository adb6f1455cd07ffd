#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "common/Utf8.h"
#include "engine/ShellRunner.h"

namespace keyvane {
namespace {

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

// Exits are collected in the background, also of a command that goes on running after closing its
// output (until the test releases it): the caller has the output at once, and no zombie stays.
TEST(ShellRunner, CommandsAreReapedWithoutHoldingUpTheCaller) {
    const std::filesystem::path home = std::getenv("HOME");
    const std::filesystem::path fifo = home / "release", done = home / "done";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::vector<std::string> shells;
    for (int i = 0; i < 3; ++i)
        shells.push_back(ShellRunner::run("printf $$"));
    EXPECT_EQ(ShellRunner::run("echo before; exec >&-; read line < '" + fifo.string() +
                               "'; echo $$ > '" + done.string() + "'"),
              "before\n");
    std::ofstream(fifo) << "go\n";
    std::string pid;
    ASSERT_TRUE(eventually(
        [&] { return std::getline(std::ifstream(done) >> std::ws, pid) && !pid.empty(); }));
    shells.push_back(pid);
    for (const std::string& shell : shells)
        EXPECT_TRUE(eventually([&] { return !std::filesystem::exists("/proc/" + shell); }))
            << shell;
}

}  // namespace
}  // namespace keyvane
