#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "engine/MappingApplier.h"
#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "tests/support/FakeHidutil.h"
#include "tests/support/KeyMappingProperty.h"

namespace keyvane {
namespace {

using testing::FakeHidutil;
using Calls = std::vector<std::vector<std::string>>;

KeyMapping record(const std::string& from, const std::string& to) {
    return {{"original", "from"}, {"originalId", from}, {"remapped", "to"}, {"remappedId", to}};
}

// Caps Lock -> Escape, `count` times.
std::vector<KeyMapping> capsLocks(std::size_t count) {
    return std::vector<KeyMapping>(count, record("39", "29"));
}
std::string capsLockProperty(std::size_t count) {
    return testing::keyMappingProperty({count, {"39", "29"}});
}

// An alert as (title, text).
using Alert = std::pair<std::string, std::string>;
const Alert blankIdAlert{MappingApplier::blankIdAlertTitle, MappingApplier::blankIdAlertText};
const Alert failedAlert{MappingApplier::failedAlertTitle, MappingApplier::failedAlertText};

// Records what the applier tells, in place of the application's web service and alerts.
class MappingApplierTest : public ::testing::Test {
  protected:
    void SetUp() override {
        MappingApplier::setEffects(
            {[this](const std::string& name, const std::string& value, const std::string&) {
                 events.push_back(name + " " + value);
             },
             [this](const std::string& message) { errors.push_back(message); },
             [this](const std::string& text, const std::string& title) {
                 alerts.emplace_back(title, text);
             }});
    }
    void TearDown() override { MappingApplier::setEffects({}); }

    // The alerts so far, which are then forgotten.
    std::vector<Alert> drainAlerts() { return std::exchange(alerts, {}); }

    FakeHidutil hidutil;
    std::vector<std::string> events, errors;
    std::vector<Alert> alerts;
};

// Always clears first; then one command for all keyboards, or for the stored product id. Blank ids
// are shown in an alert, and the command still runs. A list longer than one command can carry is
// refused before the clearing, so that the keys keep what they had.
TEST_F(MappingApplierTest, EachListInstallsWithOneExactCommandAfterClearing) {
    const std::string two = testing::keyMappingProperty({{"39", "29"}, {"e3", "e7"}});
    const std::vector<std::string> twoOnOne = {
        "property", "--set", testing::keyMappingProperty({{"39", "29"}, {"39", "00"}}),
        "--matching", R"({"ProductID": 0x27e})"};
    // A product id lengthens the command, so that it carries one mapping less.
    EXPECT_EQ(MappingApplier::maximumMappings(std::nullopt), 1379u);
    EXPECT_EQ(MappingApplier::maximumMappings("0x27e"), 1378u);
    const std::vector<std::string> fullOnOne = {"property", "--set", capsLockProperty(1378),
                                                "--matching", R"({"ProductID": 0x27e})"};
    const auto install = FakeHidutil::installCall;
    const auto tooMany = [](const std::string& has, const std::string& most) {
        return Alert{"Too many mappings to install",
                     "Your list has " + has + " mappings, but one installation can carry at most " +
                         most + ". Remove 1 mapping; until then the keys stay as they were " +
                         "installed before."};
    };
    const struct {
        std::vector<KeyMapping> list;
        const char* keyboard;  // stored before the run, when given
        Calls afterClearing;
        std::vector<Alert> alerts;
        bool refused = false;  // not even cleared
    } rows[] = {
        {{}, nullptr, {}, {}},
        {{{{"original", "a"}, {"originalId", "04"}}}, nullptr, {}, {}},
        {{{}}, nullptr, {}, {}},
        {{record("39", "29"), record("e3", "e7")}, nullptr, {install(two)}, {}},
        {{record("", "29")},
         nullptr,
         {install(testing::keyMappingProperty({{"", "29"}}))},
         {blankIdAlert}},
        {{record("39", "")},
         nullptr,
         {install(testing::keyMappingProperty({{"39", ""}}))},
         {blankIdAlert}},
        {capsLocks(1379), nullptr, {install(capsLockProperty(1379))}, {}},
        {capsLocks(1380), nullptr, {}, {tooMany("1,380", "1,379")}, true},
        {{record("39", "29"), record("e3", "e7")}, allKeyboardsId, {install(two)}, {}},
        {{record("39", "29"), record("39", "00")}, "0x27e", {twoOnOne}, {}},
        {capsLocks(1378), "0x27e", {fullOnOne}, {}},
        {capsLocks(1379), "0x27e", {}, {tooMany("1,379", "1,378")}, true},
    };
    ::testing::internal::CaptureStdout();
    for (const auto& row : rows) {
        hidutil.clearCalls();
        keyMappings = row.list;
        if (row.keyboard)
            MappingStore::saveKeyboardId(row.keyboard);
        EXPECT_EQ(MappingApplier::applyMappings(), !row.refused);
        Calls calls = row.afterClearing;
        if (!row.refused)
            calls.insert(calls.begin(), FakeHidutil::clearingCall());
        const std::string context = "row " + std::to_string(&row - rows);
        EXPECT_EQ(hidutil.calls(), calls) << context;
        EXPECT_EQ(drainAlerts(), row.alerts) << context;
        // The permanent keymap's helper is handed the very words bash handed hidutil.
        const MappingApplier::PropertyTexts texts = MappingApplier::composeProperty();
        Calls handed;
        if (!texts.property.empty())
            handed.push_back(install(texts.property));
        if (texts.matching)
            handed.back().insert(handed.back().end(), {"--matching", *texts.matching});
        if (!row.refused) {
            EXPECT_EQ(handed, row.afterClearing) << context;
        } else {
            // The refusal is no caution: bash could not have started that command.
            ::testing::internal::CaptureStderr();
            ShellRunner::run(MappingApplier::composeCommand());
            const std::string warning = ::testing::internal::GetCapturedStderr();
            EXPECT_NE(warning.find("Argument list too long"), std::string::npos) << warning;
            EXPECT_TRUE(hidutil.calls().empty()) << context;
        }
    }
    const std::string trace = ::testing::internal::GetCapturedStdout();
    EXPECT_NE(trace.find("hidutil property --set '" + two + "'\n"), std::string::npos);
}

TEST_F(MappingApplierTest, OutputWithoutUserKeyMappingShowsTheFailureAlert) {
    keyMappings = {record("39", "29")};
    for (const char* output : {"", "RegistryID  Key                   Value\n", "userkeymapping"}) {
        hidutil.setOutput("property", output);
        MappingApplier::applyMappings();
        EXPECT_EQ(drainAlerts(), std::vector<Alert>{failedAlert}) << output;
    }
}

TEST_F(MappingApplierTest, SingleQuoteInStoredValuesCannotRunShellCode) {
    const std::filesystem::path proof = std::filesystem::path(std::getenv("HOME")) / "pwned";
    const std::string injection = "'; touch " + proof.string() + "; echo '";
    keyMappings = {record("39" + injection, "29")};
    MappingStore::saveKeyboardId("0x27e" + injection);
    MappingApplier::applyMappings();

    EXPECT_FALSE(std::filesystem::exists(proof));
    const Calls calls = hidutil.calls();
    ASSERT_EQ(calls.size(), 2u);
    ASSERT_EQ(calls[1].size(), 5u);  // the values stayed inside their words
    EXPECT_NE(calls[1][2].find("0x700000039" + injection + ", "), std::string::npos);
    EXPECT_EQ(calls[1][4], R"({"ProductID": 0x27e)" + injection + "}");
    EXPECT_EQ(MappingApplier::composeProperty().property, calls[1][2]);
    EXPECT_EQ(MappingApplier::composeProperty().matching, calls[1][4]);
}

TEST_F(MappingApplierTest, ReportsTheRunAndBlankIdsToTheWebService) {
    keyMappings = {record("39", "")};
    MappingApplier::applyMappings();
    EXPECT_EQ(events, (std::vector<std::string>{"applymapping startcmd", "sh cmd", "sh result"}));
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].rfind(
                  "error applying mapping - originalId or remappedId was blank\n\nhidutil ", 0),
              0u);
}

}  // namespace
}  // namespace keyvane
