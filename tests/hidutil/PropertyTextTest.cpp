// The property texts the application composes, and what hidutil says about texts it refuses.
#include <gtest/gtest.h>

#include <string>

#include "common/Text.h"
#include "hidutil/Command.h"
#include "hidutil/PropertyText.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/Golden.h"

namespace keyvane::hidutil {
namespace {

using testing::Outcome;
using testing::userKeyMapping;

Outcome run(const std::vector<std::string>& args) {
    testing::MemoryDeviceSource devices;
    devices.keyboards.push_back(testing::hidKeyboard(0x27e, 3));
    return testing::runHidutil(args, devices,
                               std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "hidutil");
}

// What the session and install tests do not send: upper-case hex, a decimal destination, the same
// source twice, any JSON white space, a decimal product id and --matching before --set.
TEST(PropertyText, AcceptsTheApplicationsCommands) {
    const std::vector<std::string> accepted[] = {
        {"property", "--set",
         userKeyMapping({{"0x700000004", "0x700000005"},
                         {"0X7000000E3", "30064771113"},
                         {"0x700000004", "0x700000006"}})},
        {"property", "--set", " \n\t{ \"UserKeyMapping\"\r\n:\n[ ] } \n"},
        {"property", "--matching", R"({"ProductID": 638})", "--set", userKeyMapping({})},
    };
    for (const auto& args : accepted) {
        const Outcome result = run(args);
        EXPECT_EQ(result.status, exitSuccess) << args[2] << "\n" << result.err;
        EXPECT_EQ(result.err, "") << args[2];
        EXPECT_NE(result.out.find("UserKeyMapping"), std::string::npos) << args[2];
    }
}

// The file holds each refused text on a line of its own, followed by what hidutil says of it.
TEST(PropertyText, RefusesWithPositionAndWhatWasExpected) {
    const std::string expected = testing::goldenFile("refused-texts.txt");
    const std::vector<std::string> lines = splitKeepingEmpty(expected, '\n');
    ASSERT_GT(lines.size(), 2u);
    std::string said;
    for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
        const Outcome result = run({"property", "--set", lines[i]});
        EXPECT_EQ(result.status, exitFailure) << lines[i];
        EXPECT_EQ(result.out, "") << lines[i];
        said += lines[i] + "\n" + result.err;
    }
    EXPECT_EQ(said, expected);
}

TEST(PropertyText, NestingIsBoundedAndNumbersUseAllSixtyFourBits) {
    const std::string deepest = std::string(maxNesting, '[') + std::string(maxNesting, ']');
    EXPECT_TRUE(parsePropertyText(deepest).value);
    for (std::size_t depth : {std::size_t(maxNesting + 1), std::size_t(1000000)}) {
        const auto parsed = parsePropertyText(std::string(depth, '['));
        ASSERT_FALSE(parsed.value);
        EXPECT_EQ(parsed.error.position, std::size_t(maxNesting));
        EXPECT_EQ(parsed.error.expected, "at most 64 nested objects and arrays");
    }
    const auto objects = parsePropertyText(std::string(100000, '{'));
    EXPECT_FALSE(objects.value);

    for (const char* largest :
         {"0xffffffffffffffff", "18446744073709551615", "0x0000000000000000ffffffffffffffff"}) {
        const auto parsed = parsePropertyText(largest);
        ASSERT_TRUE(parsed.value) << largest;
        EXPECT_EQ(parsed.value->integer, UINT64_MAX);
    }
    // Escapes; surrogates come out as valid UTF-8: a pair as its code point, a lone half as U+FFFD.
    const std::pair<const char*, const char*> strings[] = {
        {R"(["a\"\\\/\b\f\n\r\t\u00e9\u20ac"])", "a\"\\/\b\f\n\r\t\u00e9\u20ac"},
        {R"(["\uD83D\uDE00"])", "\xF0\x9F\x98\x80"},
        {R"(["\ud83dx\ude00"])", "\xEF\xBF\xBDx\xEF\xBF\xBD"},
        {R"(["\uD83D\u0041\uD83D"])",
         "\xEF\xBF\xBD"
         "A\xEF\xBF\xBD"},
    };
    for (const auto& [text, expected] : strings) {
        const auto escaped = parsePropertyText(text);
        ASSERT_TRUE(escaped.value) << text;
        EXPECT_EQ(escaped.value->items.at(0).string, expected) << text;
    }
}

TEST(Arguments, AnythingButTheKnownCommandLinesGivesTheUsage) {
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"propery", "--set", "{}"},
        {"property"},
        {"property", "--set"},
        {"property", "--set", "{}", "--set", "{}"},
        {"property", "--set", "{}", "--get", "UserKeyMapping"},
        {"property", "--set", "{}", "--matching"},
        {"property", "-m", "keyboard"},
        {"list", "-m", "mouse"},
        {"list", "-m", "keyboard", "--matching", "{}"},
        {"list", "--set", "{}"},
        {"--help", "list"},
    };
    for (const auto& args : wrong) {
        const Outcome result = run(args);
        EXPECT_EQ(result.status, exitUsage);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err.rfind("usage: hidutil property --set TEXT [--matching TEXT]\n", 0),
                  0u);
        EXPECT_NE(result.err.find("\nhidutil: not a command line hidutil understands: "),
                  std::string::npos);
    }
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.status, exitSuccess);
    EXPECT_EQ(help.out.rfind("usage: hidutil", 0), 0u);
    EXPECT_EQ(help.err, "");
}

}  // namespace
}  // namespace keyvane::hidutil
