// The property texts the application composes, and what hidutil says about texts it refuses.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "hidutil/Command.h"
#include "hidutil/PropertyText.h"
#include "tests/hidutil/MemoryDevices.h"

namespace keyvane::hidutil {
namespace {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome run(const std::vector<std::string>& args) {
    testing::MemoryDeviceSource devices;
    devices.keyboards.push_back(testing::hidKeyboard(0x27e, 3));
    std::ostringstream out, err;
    const int status = runCommand(
        args, devices, std::filesystem::path(std::getenv("XDG_RUNTIME_DIR")) / "hidutil", out, err);
    return {status, out.str(), err.str()};
}

Outcome set(const std::string& text) {
    return run({"property", "--set", text});
}

constexpr const char* srcKey = R"("HIDKeyboardModifierMappingSrc" : )";
constexpr const char* dstKey = R"("HIDKeyboardModifierMappingDst" : )";

std::string entry(const std::string& src, const std::string& dst) {
    return std::string("{") + srcKey + src + ", " + dstKey + dst + "}";
}

std::string list(const std::string& entries) {
    return R"({"UserKeyMapping" : [)" + entries + "]}";
}

TEST(PropertyText, AcceptsTheApplicationsCommands) {
    // Clearing; the two-record example; "Disable key"; the same source twice; upper-case hex.
    const std::string accepted[] = {
        R"({"UserKeyMapping" : []})",
        R"({"UserKeyMapping" : [{"HIDKeyboardModifierMappingSrc" : 0x700000039, "HIDKeyboardModifierMappingDst" : 0x700000029},{"HIDKeyboardModifierMappingSrc" : 0x7000000e3, "HIDKeyboardModifierMappingDst" : 0x7000000e7}]})",
        list(entry("0x700000004", "0x700000000")),
        list(entry("0x700000004", "0x700000005") + "," + entry("0x700000004", "0x700000006")),
        list(entry("0X7000000E3", "30064771113")),
        " \n\t{ \"UserKeyMapping\"\r\n:\n[ ] } \n",
    };
    for (const std::string& text : accepted) {
        const Outcome result = set(text);
        EXPECT_EQ(result.status, exitSuccess) << text << "\n" << result.err;
        EXPECT_EQ(result.err, "") << text;
        EXPECT_NE(result.out.find("UserKeyMapping"), std::string::npos) << text;
    }

    const Outcome matched = run({"property", "--set", list(entry("0x700000039", "0x700000029")),
                                 "--matching", R"({"ProductID": 0x27e})"});
    EXPECT_EQ(matched.status, exitSuccess) << matched.err;
    const Outcome decimal = run(
        {"property", "--matching", R"({"ProductID": 638})", "--set", R"({"UserKeyMapping" : []})"});
    EXPECT_EQ(decimal.status, exitSuccess) << decimal.err;
}

TEST(PropertyText, RefusesWithPositionAndWhatWasExpected) {
    const std::string ok = "0x700000029";
    struct Row {
        std::string text;
        std::string message;  // after "hidutil: cannot use the --set text at position "
    };
    const Row rows[] = {
        {"", "1: expected a value (an object, array, string or integer)"},
        {"   ", "4: expected a value (an object, array, string or integer)"},
        {R"({"UserKeyMapping" : [})", "22: expected a value (an object, array, string or integer)"},
        {R"({"UserKeyMapping" : [])", "23: expected ',' or '}'"},
        {R"({"UserKeyMapping" : [1 2]})", "24: expected ',' or ']'"},
        {R"({"UserKeyMapping" : []} x)", "25: expected the end of the text"},
        {R"({UserKeyMapping : []})", "2: expected '\"' to begin a key, or '}'"},
        {R"({"UserKeyMapping" : [], })", "25: expected '\"' to begin a key"},
        {R"({"UserKeyMapping" []})", "19: expected ':' after the key"},
        {R"({"UserKeyMapping" : [0x]})", "24: expected a hexadecimal digit after 0x"},
        {R"({"UserKeyMapping" : [0xg]})", "24: expected a hexadecimal digit after 0x"},
        {R"({"UserKeyMapping" : [007]})",
         "22: expected a decimal integer without leading zeros (hexadecimal needs 0x)"},
        {R"({"UserKeyMapping" : [true]})",
         "22: expected a value (an object, array, string or integer)"},
        {R"({"UserKeyMapping" : [-1]})",
         "22: expected a value (an object, array, string or integer)"},
        {R"({"UserKeyMapping" : [1.5]})", "23: expected ',' or ']'"},
        {R"({"UserKeyMapping" : "abc})", "26: expected '\"' to end the string"},
        {R"({"UserKeyMapping" : "a\qb"})",
         "23: expected one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\uXXXX"},
        {R"({"UserKeyMapping" : "\u12"})",
         "22: expected one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\uXXXX"},
        {"{\"UserKeyMapping\" : \"a\tb\"}",
         "23: expected a printable character or an escape in the string"},
        {R"({"UserKeyMapping" : [], "UserKeyMapping" : []})",
         "25: expected a key not given before in this object"},
        {R"({"UserKeyMapping" : [0x10000000000000000]})", "22: expected an integer below 2^64"},
        {R"({"UserKeyMapping" : [18446744073709551616]})", "22: expected an integer below 2^64"},
        {"[]", "1: expected an object holding \"UserKeyMapping\""},
        {"{}", "1: expected an object holding \"UserKeyMapping\""},
        {R"({"HIDEventServiceProperties" : []})",
         "2: expected \"UserKeyMapping\", the only property hidutil sets"},
        {R"({"UserKeyMapping" : {}})", "21: expected an array of mapping objects"},
        {R"({"UserKeyMapping" : [1]})",
         "22: expected an object with \"HIDKeyboardModifierMappingSrc\" and "
         "\"HIDKeyboardModifierMappingDst\""},
        {list(std::string("{") + srcKey + "0x700000039}"),
         "22: expected \"HIDKeyboardModifierMappingDst\" in this mapping"},
        {list(std::string("{") + dstKey + "0x700000039}"),
         "22: expected \"HIDKeyboardModifierMappingSrc\" in this mapping"},
        {list(std::string("{") + srcKey + "0x700000039, \"Delay\" : 1, " + dstKey + ok + "}"),
         "70: expected \"HIDKeyboardModifierMappingSrc\" or \"HIDKeyboardModifierMappingDst\""},
        {list(entry("\"0x700000039\"", ok)), "57: expected an integer usage such as 0x700000039"},
    };
    for (const Row& row : rows) {
        const Outcome result = set(row.text);
        EXPECT_EQ(result.status, exitFailure) << row.text;
        EXPECT_EQ(result.out, "") << row.text;
        EXPECT_EQ(result.err,
                  "hidutil: cannot use the --set text at position " + row.message + "\n")
            << row.text;
    }

    const Outcome badMatching = run({"property", "--set", R"({"UserKeyMapping" : []})",
                                     "--matching", R"({"ProductID": "0x27e"})"});
    EXPECT_EQ(badMatching.status, exitFailure);
    EXPECT_EQ(badMatching.out, "");
    EXPECT_EQ(badMatching.err,
              "hidutil: cannot use the --matching text at position 15: expected an integer\n");
    const Outcome unknownKey = run({"list", "--matching", R"({"SerialNumber": 1})"});
    EXPECT_EQ(unknownKey.err,
              "hidutil: cannot use the --matching text at position 2: expected one of ProductID, "
              "VendorID, LocationID, PrimaryUsagePage, PrimaryUsage, Transport, Product\n");
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
    }
    const Outcome help = run({"--help"});
    EXPECT_EQ(help.status, exitSuccess);
    EXPECT_EQ(help.out.rfind("usage: hidutil", 0), 0u);
    EXPECT_NE(help.out.find("group 'input'"), std::string::npos);
    EXPECT_NE(help.out.find("~/.local/state/keyvane/"), std::string::npos);
    EXPECT_NE(help.out.find("  hidutil property --set '{\"UserKeyMapping\" : []}'\n"),
              std::string::npos);
    EXPECT_EQ(help.err, "");
}

}  // namespace
}  // namespace keyvane::hidutil
