#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/UserDefaults.h"
#include "tests/support/ReadFile.h"

namespace keyvane {
namespace {

namespace fs = std::filesystem;
using testing::readFile;

TEST(UserDefaults, LivesUnderXdgConfigHomeOrDotConfig) {
    EXPECT_EQ(UserDefaults::standardPath(),
              fs::path(std::getenv("XDG_CONFIG_HOME")) / "keyvane" / "defaults.json");
    ::unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(UserDefaults::standardPath(),
              fs::path(std::getenv("HOME")) / ".config" / "keyvane" / "defaults.json");
}

TEST(UserDefaults, EveryValueTypeSurvivesARoundTripWithItsJsonType) {
    UserDefaults defaults(UserDefaults::standardPath());
    defaults.setStringDictionaryArray("list", {{{"original", "Caps Lock"}, {"originalId", "39"}},
                                               {{"quote\"", "line\nfeed"}, {"ü", "§"}}});
    defaults.setString("text", "0x27e");
    defaults.setBool("flag", true);
    defaults.setInteger("count", 9007199254740993);  // not representable as a double

    UserDefaults reader(UserDefaults::standardPath());
    const auto read = [&](const char* key) {
        const DefaultsValue* value = reader.objectForKey(key);
        return value ? *value : DefaultsValue{};
    };
    const auto text = [](const char* value) { return DefaultsValue{std::string(value)}; };
    const DefaultsValue list{DefaultsArray{
        {DefaultsDictionary{{"original", text("Caps Lock")}, {"originalId", text("39")}}},
        {DefaultsDictionary{{"quote\"", text("line\nfeed")}, {"ü", text("§")}}}}};
    EXPECT_EQ(read("list"), list);
    EXPECT_EQ(read("text"), text("0x27e"));
    EXPECT_EQ(read("flag"), DefaultsValue{true});
    EXPECT_EQ(read("count"), DefaultsValue{std::int64_t{9007199254740993}});

    // Absent keys and keys of another type read as the neutral value.
    EXPECT_EQ(reader.objectForKey("absent"), nullptr);
    EXPECT_FALSE(reader.stringForKey("count").has_value());
    EXPECT_FALSE(reader.boolForKey("absent"));
    EXPECT_EQ(reader.integerForKey("text"), 0);
}

TEST(UserDefaults, AWriteKilledBeforeTheRenameLeavesTheOldFile) {
    const fs::path file = UserDefaults::standardPath();
    UserDefaults(file).setString("keep", "old value");
    const std::string before = readFile(file);

    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // The kernel kills the writer (SIGXFSZ) in the middle of writing the new file.
        struct rlimit limit {
            64, 64
        };
        ::setrlimit(RLIMIT_FSIZE, &limit);
        UserDefaults(file).setString("big", std::string(100000, 'x'));
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGXFSZ);

    EXPECT_EQ(readFile(file), before);
    UserDefaults reader(file);
    EXPECT_EQ(reader.stringForKey("keep"), "old value");
    EXPECT_EQ(reader.objectForKey("big"), nullptr);
    // The next write succeeds beside the leftover temporary file, and the reader sees it.
    UserDefaults(file).setString("after", "crash");
    EXPECT_EQ(reader.stringForKey("after"), "crash");
    EXPECT_EQ(reader.stringForKey("keep"), "old value");
}

TEST(UserDefaults, UnreadableFileReadsEmptyIsKeptAsideAtOnceAndReported) {
    std::vector<UserDefaults::Problem> problems;
    UserDefaults::setProblemHandler([&](const auto& problem) { problems.push_back(problem); });
    const fs::path file = UserDefaults::standardPath();
    const std::string corrupt = R"({"keydata2": [{"original": "Caps Lock")";
    fs::create_directories(file.parent_path());
    std::ofstream(file) << corrupt;

    UserDefaults defaults(file);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(defaults.objectForKey("keydata2"), nullptr);
    EXPECT_EQ(defaults.objectForKey("applyatlogin"), nullptr);  // reported once, not per read
    ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_EQ(problems[0].file, file);
    EXPECT_EQ(problems[0].keptAs.parent_path(), file.parent_path());
    EXPECT_EQ(readFile(problems[0].keptAs), corrupt);
    defaults.setString("keyboardId", "0x27e");
    EXPECT_EQ(UserDefaults(file).stringForKey("keyboardId"), "0x27e");
    UserDefaults::setProblemHandler({});
}

}  // namespace
}  // namespace keyvane
