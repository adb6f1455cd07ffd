// The files Keyvane keeps in the XDG folders: the settings file and the login item.
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "platform/LoginItems.h"
#include "platform/UserDefaults.h"
#include "tests/support/ReadFile.h"

namespace keyvane {
namespace {

namespace fs = std::filesystem;
using testing::readFile;

// A relative XDG_CONFIG_HOME is invalid and ignored, as if it were not set.
TEST(UserDefaults, LivesUnderXdgConfigHomeOrDotConfig) {
    EXPECT_EQ(UserDefaults::standardPath(),
              fs::path(std::getenv("XDG_CONFIG_HOME")) / "keyvane" / "defaults.json");
    const fs::path dotConfig =
        fs::path(std::getenv("HOME")) / ".config" / "keyvane" / "defaults.json";
    ::setenv("XDG_CONFIG_HOME", "relative/config", 1);
    EXPECT_EQ(UserDefaults::standardPath(), dotConfig);
    ::unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(UserDefaults::standardPath(), dotConfig);
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

// Root reads and writes files without permission all the same (CAP_DAC_OVERRIDE,
// CAP_DAC_READ_SEARCH). This thread gives both up while the object lives, so that a file without
// permission cannot be read by whoever runs the test.
class NoPermissionOverride {
  public:
    NoPermissionOverride() {
        ::syscall(SYS_capget, &header_, saved_);
        __user_cap_data_struct lowered[2] = {saved_[0], saved_[1]};
        lowered[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        ::syscall(SYS_capset, &header_, lowered);
    }
    ~NoPermissionOverride() { ::syscall(SYS_capset, &header_, saved_); }

  private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved_[2]{};
};

// Only a file that was read and did not parse is corrupt, and kept aside at once. One that cannot
// be read may hold good settings: it stays where it is, as it is, and no save replaces it, even
// where the folder would take one (the refusal is the program's own).
TEST(UserDefaults, AFileThatDoesNotParseIsKeptAsideOneThatCannotBeReadIsLeftAlone) {
    using Kind = UserDefaults::Problem::Kind;
    std::vector<UserDefaults::Problem> problems;
    UserDefaults::setProblemHandler([&](const auto& problem) { problems.push_back(problem); });
    const fs::path file = UserDefaults::standardPath();
    const struct {
        std::string contents;  // empty: a folder where the file should be
        fs::perms permissions;
        Kind kind;
        const char* reason;        // when it is checked
        bool onTheFolder = false;  // the permissions are the folder's, not the file's
    } rows[] = {
        {R"({"keydata2": [{"original": "Caps Lock")", fs::perms::owner_read, Kind::Corrupt,
         nullptr},
        {R"({"keyboardId": "0x27e"})", fs::perms::none, Kind::Unreadable, "Permission denied"},
        {"", fs::perms::owner_all, Kind::Unreadable, "Is a directory"},
        {R"({"keyboardId": "0x27e"})", fs::perms::owner_read, Kind::Unreadable, "Permission denied",
         true},
    };
    for (const auto& row : rows) {
        problems.clear();
        fs::remove_all(file.parent_path());
        fs::create_directories(file.parent_path());
        if (row.contents.empty())
            fs::create_directories(file / "inside");
        else
            std::ofstream(file) << row.contents;
        fs::permissions(row.onTheFolder ? file.parent_path() : file, row.permissions);
        {
            NoPermissionOverride asAnyUser;
            UserDefaults defaults(file);
            ::testing::internal::CaptureStderr();
            EXPECT_EQ(defaults.objectForKey("keydata2"), nullptr);
            EXPECT_EQ(defaults.objectForKey("keyboardId"), nullptr);  // reported once, not per read
            defaults.setString("keyboardId", "0x300");
            EXPECT_EQ(defaults.stringForKey("keyboardId"), "0x300");  // in effect, saved or not
            ::testing::internal::GetCapturedStderr();
        }
        ASSERT_GE(problems.size(), 1u) << row.contents;
        EXPECT_EQ(problems[0].kind, row.kind) << row.contents;
        EXPECT_EQ(problems[0].file, file);
        if (row.reason) {
            EXPECT_EQ(problems[0].reason, row.reason);
        }
        fs::permissions(file.parent_path(), fs::perms::owner_all);
        fs::permissions(file, fs::perms::owner_all);
        std::vector<fs::path> names;
        for (const auto& entry : fs::directory_iterator(file.parent_path()))
            names.push_back(entry.path().filename());
        if (row.kind == Kind::Corrupt) {
            EXPECT_EQ(problems.size(), 1u);
            EXPECT_EQ(problems[0].keptAs.parent_path(), file.parent_path());
            EXPECT_EQ(readFile(problems[0].keptAs), row.contents);
            EXPECT_EQ(UserDefaults(file).stringForKey("keyboardId"), "0x300");
            continue;
        }
        // The save it refused is no news after the first problem, which said so.
        EXPECT_EQ(problems.size(), 1u);
        EXPECT_EQ(names, std::vector<fs::path>{file.filename()});  // nothing kept aside or left
        if (row.contents.empty()) {
            EXPECT_TRUE(fs::is_directory(file / "inside"));
        } else {
            EXPECT_EQ(readFile(file), row.contents);
        }
    }
    UserDefaults::setProblemHandler({});
}

// The session reads the entry's Exec line back into the one program path it must start: a space,
// a percent sign, a dollar or a quote in the install folder must survive that reading.
TEST(LoginItemsTest, TheEntryStartsTheHelperWhereverItIsInstalled) {
    const struct {
        std::string executable, exec;
    } rows[] = {
        {"/usr/bin/keyvane-launcher", R"(Exec="/usr/bin/keyvane-launcher")"},
        {"/opt/My Apps/100% $HOME/keyvane-launcher",
         R"(Exec="/opt/My Apps/100%% \\$HOME/keyvane-launcher")"},
        {R"(/opt/"q"/`x`\y/keyvane-launcher)",
         R"(Exec="/opt/\\"q\\"/\\`x\\`\\\\y/keyvane-launcher")"},
    };
    const auto entry = LoginItems::entryPath("app.keyvane.KeyvaneLauncher");
    std::string error;
    for (const auto& row : rows) {
        ASSERT_TRUE(
            LoginItems::setEnabled("app.keyvane.KeyvaneLauncher", row.executable, true, error))
            << error;
        const std::string text = readFile(entry);
        EXPECT_NE(text.find("\n" + row.exec + "\n"), std::string::npos) << text;
        const std::string validate = "desktop-file-validate '" + entry.string() + "'";
        EXPECT_EQ(std::system(validate.c_str()), 0) << row.executable;
    }
    ASSERT_TRUE(LoginItems::setEnabled("app.keyvane.KeyvaneLauncher", "/x", false, error)) << error;
    EXPECT_FALSE(std::filesystem::exists(entry));
}

}  // namespace
}  // namespace keyvane
