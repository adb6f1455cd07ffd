#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "engine/MappingApplier.h"
#include "engine/MappingStore.h"
#include "tests/support/FakeHidutil.h"

namespace keyvane {
namespace {

using testing::FakeHidutil;
using Calls = std::vector<std::vector<std::string>>;

KeyMapping record(const std::string& from, const std::string& to) {
    return {{"original", "from"}, {"originalId", from}, {"remapped", "to"}, {"remappedId", to}};
}

// An alert as (title, text).
using Alert = std::pair<std::string, std::string>;
const Alert blankIdAlert{
    "Error applying mapping",
    "OriginalId or remappedId was blank, please remove all mappings and re-add them."};
const Alert failedAlert{
    "Unable to apply keyboard mappings",
    "Unable to apply keyboard mappings. Most often this is because you are trying to apply "
    "mappings to an external USB keyboard which is no longer connected. Try applying the mappings "
    "to all keyboards instead."};

const std::string twoRecordProperty =
    R"({"UserKeyMapping" : [{"HIDKeyboardModifierMappingSrc" : 0x700000039, "HIDKeyboardModifierMappingDst" : 0x700000029},{"HIDKeyboardModifierMappingSrc" : 0x7000000e3, "HIDKeyboardModifierMappingDst" : 0x7000000e7}]})";

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

TEST_F(MappingApplierTest, NothingUsableRunsOnlyTheClearingCommand) {
    for (const std::vector<KeyMapping>& list :
         {std::vector<KeyMapping>{}, {{{"original", "a"}, {"originalId", "04"}}}, {{}}}) {
        hidutil.clearCalls();
        keyMappings = list;
        MappingApplier::applyMappings();
        EXPECT_EQ(hidutil.calls(), Calls{FakeHidutil::clearingCall()});
        EXPECT_TRUE(drainAlerts().empty());
    }
}

TEST_F(MappingApplierTest, TwoRecordsForAllKeyboardsComposeTheExactCommand) {
    keyMappings = {record("39", "29"), record("e3", "e7")};
    for (const char* allKeyboards : {"", "0x9999"}) {
        if (*allKeyboards)
            MappingStore::saveKeyboardId(allKeyboards);
        EXPECT_EQ(MappingApplier::composeCommand(),
                  "hidutil property --set '" + twoRecordProperty + "'");
    }
    ::testing::internal::CaptureStdout();
    MappingApplier::applyMappings();
    const std::string trace = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(hidutil.calls(),
              (Calls{FakeHidutil::clearingCall(), FakeHidutil::installCall(twoRecordProperty)}));
    EXPECT_NE(trace.find("hidutil property --set '" + twoRecordProperty + "'\n"),
              std::string::npos);
    EXPECT_TRUE(drainAlerts().empty());
}

TEST_F(MappingApplierTest, ChosenKeyboardAddsItsProductIdAndDuplicatesStayInOrder) {
    keyMappings = {record("39", "29"), record("39", "00")};
    MappingStore::saveKeyboardId("0x27e");
    EXPECT_EQ(
        MappingApplier::composeCommand(),
        R"(hidutil property --set '{"UserKeyMapping" : [{"HIDKeyboardModifierMappingSrc" : 0x700000039, "HIDKeyboardModifierMappingDst" : 0x700000029},{"HIDKeyboardModifierMappingSrc" : 0x700000039, "HIDKeyboardModifierMappingDst" : 0x700000000}]}' --matching '{"ProductID": 0x27e}')");
    MappingApplier::applyMappings();
    ASSERT_EQ(hidutil.calls().size(), 2u);
    EXPECT_EQ(
        hidutil.calls()[1],
        (std::vector<std::string>{
            "property", "--set",
            R"({"UserKeyMapping" : [{"HIDKeyboardModifierMappingSrc" : 0x700000039, "HIDKeyboardModifierMappingDst" : 0x700000029},{"HIDKeyboardModifierMappingSrc" : 0x700000039, "HIDKeyboardModifierMappingDst" : 0x700000000}]})",
            "--matching", R"({"ProductID": 0x27e})"}));
}

TEST_F(MappingApplierTest, BlankIdsAreReportedAndTheCommandStillRuns) {
    keyMappings = {record("", "29")};
    MappingApplier::applyMappings();
    ASSERT_EQ(hidutil.calls().size(), 2u);
    EXPECT_NE(
        hidutil.calls()[1][2].find(
            R"({"HIDKeyboardModifierMappingSrc" : 0x7000000, "HIDKeyboardModifierMappingDst" : 0x700000029})"),
        std::string::npos);
    EXPECT_EQ(drainAlerts(), std::vector<Alert>{blankIdAlert});

    hidutil.clearCalls();
    keyMappings = {record("39", "")};
    MappingApplier::applyMappings();
    EXPECT_EQ(hidutil.calls().size(), 2u);
    EXPECT_EQ(drainAlerts(), std::vector<Alert>{blankIdAlert});
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

    // Values without a quote give the same bytes as before.
    EXPECT_EQ(insideSingleQuotes("0x27e"), "0x27e");
    EXPECT_EQ(insideSingleQuotes("a'b"), R"(a'\''b)");
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
