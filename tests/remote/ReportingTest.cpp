#include <gtest/gtest.h>

#include <QByteArray>
#include <cctype>
#include <string>
#include <tuple>
#include <vector>

#include "platform/SystemInfo.h"
#include "remote/SCL.h"
#include "remote/ServiceUrls.h"
#include "tests/support/HttpsTestServer.h"

namespace keyvane {
namespace {

TEST(PercentEncode, KeepsLettersMarksAndNumbersOfAnyScriptAndEscapesEverythingElse) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},                // été, precomposed
        {"e\xCC\x81", "e\xCC\x81"},                                // e + combining acute
        {"\xE6\x97\xA5\xE6\x9C\xAC", "\xE6\x97\xA5\xE6\x9C\xAC"},  // 日本
        {"\xD9\xA3\xC2\xB2", "\xD9\xA3\xC2\xB2"},                  // Arabic-Indic 3, superscript 2
        {"\xE2\x82\xAC", "%E2%82%AC"},                             // euro sign: a symbol
        {"\xF0\x9F\x98\x80", "%F0%9F%98%80"},                      // emoji
        {"\xC2\xA0", "%C2%A0"},                                    // no-break space
        {"a\xFFz\xC3", "a%FFz%C3"},                                // invalid UTF-8 bytes
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(SCL::percentEncode(text), expected) << text;

    // Every ASCII character: letters and digits stay, everything else is escaped.
    for (char c = 1; c > 0; ++c) {
        const QByteArray escaped = QByteArray(1, c).toPercentEncoding({}, "-._~");
        EXPECT_EQ(SCL::percentEncode({c}),
                  std::isalnum(c) ? std::string{c} : escaped.toStdString());
    }
}

TEST(SanitizeName, KeepsOnlyWholeUserPerceivedCharactersFromTheAllowedSet) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""},
        {"user7 - Lab's Mac-mini", "user7 - Labs Mac-mini"},
        {"under_score 09", "under_score 09"},
        {"Ren\xC3\xA9", "Ren"},     // precomposed é
        {"Rene\xCC\x81z", "Renz"},  // e + combining acute is one character, dropped whole
        {"a\r\nb\tc.d@e", "abcde"},
        {"\xE6\x97\xA5x\xF0\x9F\x98\x80", "x"},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(SCL::sanitizeName(text), expected) << text;
}

TEST(SystemInfo, ReadsTheMachineNameAndTheKernelVersionItsWay) {
    using namespace system_info;
    EXPECT_EQ(prettyHostNameFrom("PRETTY_HOSTNAME=\"Lab's Mac-mini\"\nCHASSIS=desktop\n"),
              "Lab's Mac-mini");
    EXPECT_EQ(prettyHostNameFrom("CHASSIS=laptop\nPRETTY_HOSTNAME='Quoted \"x\"'"), "Quoted \"x\"");
    EXPECT_EQ(prettyHostNameFrom("PRETTY_HOSTNAME=\"say \\\"hi\\\"\""), "say \"hi\"");
    EXPECT_EQ(prettyHostNameFrom("PRETTY_HOSTNAME=bare"), "bare");
    EXPECT_EQ(prettyHostNameFrom("# PRETTY_HOSTNAME=commented\nICON_NAME=computer"), "");
    EXPECT_EQ(majorMinorOf("6.1.0-13-amd64"), "6.1");
    EXPECT_EQ(majorMinorOf("14.5.1"), "14.5");
    EXPECT_EQ(majorMinorOf("5.15"), "5.15");
    EXPECT_EQ(majorMinorOf("4.09.2"), "4.9");
    EXPECT_EQ(majorMinorOf("6-rc1"), "0.0");
    EXPECT_EQ(majorMinorOf(""), "0.0");
    EXPECT_EQ(osMajorMinor(), majorMinorOf(osMajorMinor()));
}

TEST(ServiceUrls, AreTheFixedPrefixesFollowedByEncodedValuesInTheirOrder) {
    qputenv("KEYVANE_SERVICE_HOST", "service.example:8443");
    const std::string user = SCL::percentEncode(SCL::userIdentity());
    const std::string device = SCL::percentEncode(SCL::osVersion() + "-" + SCL::appVersion());
    EXPECT_EQ(service::eventUrl("addkey", "Caps Lock", "Escape", 999999999),
              "https://service.example:8443/logistics/ln.php?cat=keyvane&evtname=addkey"
              "&evtval=Caps%20Lock&notes=Escape&device=" +
                  device + "&uid=" + user + "%2D&ran=999999999");
    EXPECT_EQ(service::errorUrl("failed\n"),
              "https://service.example:8443/logistics/keyvanelog.php?err=failed%0A%0A%0A" + user +
                  "%2D" + device);
    EXPECT_EQ(service::configUrl(7),
              "https://service.example:8443/configapp/keyvane.php?user=" + user + "&ran=7");
    EXPECT_EQ(service::downloadPageUrl(), "https://service.example:8443/keyvane/");

    qunsetenv("KEYVANE_SERVICE_HOST");
    EXPECT_EQ(service::downloadPageUrl(),
              std::string("https://") + BUILT_IN_SERVICE_HOST + "/keyvane/");
}

TEST(Reporting, EventsAndErrorsGoOutAsComposedAndNotAtAllToThePlaceholderHost) {
    testing::HttpsTestServer server;
    server.useForThisProcess();
    const std::string origin = "https://" + server.host();
    std::vector<std::string> randoms;
    for (const auto& [name, value, notes] :
         {std::tuple{"First launch", "", ""}, std::tuple{"sh", "cmd", "a-b"}}) {
        SCL::logEvent(name, value, notes);
        ASSERT_TRUE(server.waitForRequests(randoms.size() + 1));
        const std::string target = server.requests().back().target.toStdString();
        randoms.push_back(target.substr(target.rfind("&ran=") + 5));
        EXPECT_LE(randoms.back().size(), 9u) << "below a billion";
        EXPECT_EQ(origin + target,
                  service::eventUrl(name, value, notes, std::stoul(randoms.back())));
    }
    EXPECT_NE(randoms[0], randoms[1]);
    SCL::logError("error\nhidutil x");
    ASSERT_TRUE(server.waitForRequests(3));
    EXPECT_EQ(origin + server.requests()[2].target.toStdString(),
              service::errorUrl("error\nhidutil x"));

    // The placeholder host never resolves: no report is even composed. A request of its own to it
    // fails before its call returns, with a line in the trace; the reports leave none.
    qputenv("KEYVANE_SERVICE_HOST", "keyvane-service.invalid");
    ::testing::internal::CaptureStdout();
    SCL::logEvent("addkey", "Caps Lock", "Escape");
    SCL::logError("error");
    SCL::sendRequest("https://keyvane-service.invalid/", {}, {}, "", "", {});
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Could not resolve host: keyvane-service.invalid for "
              "https://keyvane-service.invalid/\n");
}

}  // namespace
}  // namespace keyvane
