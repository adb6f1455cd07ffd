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
// output (until the test releases it): the caller has the output at once, the commands after it
// are reaped while it lingers, and no zombie stays.
TEST(ShellRunner, CommandsAreReapedWithoutHoldingUpTheCallerOrEachOther) {
    const std::filesystem::path fifo = std::filesystem::path(std::getenv("HOME")) / "release";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::string lingering =
        ShellRunner::run("echo $$; exec >&-; read line < '" + fifo.string() + "'");
    ASSERT_FALSE(lingering.empty());
    lingering.pop_back();
    std::vector<std::string> shells;
    for (int i = 0; i < 3; ++i)
        shells.push_back(ShellRunner::run("printf $$"));
    const auto gone = [](const std::string& pid) {
        return eventually([&] { return !std::filesystem::exists("/proc/" + pid); });
    };
    for (const std::string& shell : shells)
        EXPECT_TRUE(gone(shell)) << shell;
    EXPECT_TRUE(std::filesystem::exists("/proc/" + lingering));
    std::ofstream(fifo) << "go\n";
    EXPECT_TRUE(gone(lingering));
}

}  // namespace
}  // namespace keyvane
