#include <gtest/gtest.h>

#include <QRegularExpression>
#include <QTest>
#include <cctype>
#include <string>
#include <vector>

#include "platform/SystemInfo.h"
#include "remote/SCL.h"
#include "remote/ServiceUrls.h"
#include "tests/support/HttpsTestServer.h"

namespace keyvane {
namespace {

// The identity holds only letters, digits, spaces, "-" and "_"; these are their escapes.
std::string escapedIdentityCharacters(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == ' ')
            result += "%20";
        else if (c == '-')
            result += "%2D";
        else if (c == '_')
            result += "%5F";
        else if (c == '.')
            result += "%2E";
        else
            result += c;
    }
    return result;
}

TEST(PercentEncode, KeepsLettersMarksAndNumbersOfAnyScriptAndEscapesEverythingElse) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", ""},
        {"Caps Lock", "Caps%20Lock"},
        {"a-b.c_d'e\nf", "a%2Db%2Ec%5Fd%27e%0Af"},
        {"~+%/?&=#", "%7E%2B%25%2F%3F%26%3D%23"},
        {"\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"},                // été, precomposed
        {"e\xCC\x81", "e\xCC\x81"},                                // e + combining acute
        {"\xE6\x97\xA5\xE6\x9C\xAC", "\xE6\x97\xA5\xE6\x9C\xAC"},  // 日本
        {"\xD9\xA3\xC2\xB2", "\xD9\xA3\xC2\xB2"},                  // Arabic-Indic 3, superscript 2
        {"\xE2\x82\xAC", "%E2%82%AC"},                             // euro sign: a symbol
        {"\xF0\x9F\x98\x80", "%F0%9F%98%80"},                      // emoji
        {"\xC2\xA0", "%C2%A0"},                                    // no-break space
        {"a\xFF"
         "b\xC3",
         "a%FFb%C3"},  // invalid UTF-8 bytes
        {"14.5-1.3", "14%2E5%2D1%2E3"},
        {"user7 - Labs Mac-mini-", "user7%20%2D%20Labs%20Mac%2Dmini%2D"},
        {"-", "%2D"},
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
        {"Ren\xC3\xA9", "Ren"},  // precomposed é
        {"Rene\xCC\x81"
         "e",
         "Rene"},  // e + combining acute is one character, dropped whole
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
    const std::string device =
        escapedIdentityCharacters(SCL::osVersion() + "-" + SCL::appVersion());
    const std::string uid = escapedIdentityCharacters(SCL::userIdentity() + "-");
    EXPECT_EQ(service::eventUrl("addkey", "Caps Lock", "Escape", 999999999),
              "https://service.example:8443/logistics/ln.php?cat=keyvane&evtname=addkey"
              "&evtval=Caps%20Lock&notes=Escape&device=" +
                  device + "&uid=" + uid + "&ran=999999999");
    EXPECT_EQ(service::configUrl(7), "https://service.example:8443/configapp/keyvane.php?user=" +
                                         escapedIdentityCharacters(SCL::userIdentity()) + "&ran=7");
    EXPECT_EQ(service::downloadPageUrl(), "https://service.example:8443/keyvane/");

    qunsetenv("KEYVANE_SERVICE_HOST");
    EXPECT_EQ(service::downloadPageUrl(),
              std::string("https://") + BUILT_IN_SERVICE_HOST + "/keyvane/");
}

class Reporting : public ::testing::Test {
  protected:
    void SetUp() override { server.useForThisProcess(); }
    testing::HttpsTestServer server;
};

TEST_F(Reporting, EventsAndErrorsGoOutAsComposedAndNotAtAllToThePlaceholderHost) {
    SCL::logEvent("First launch", "", "");
    ASSERT_TRUE(server.waitForRequests(1));
    SCL::logEvent("sh", "cmd", "hidutil property --set '{\"UserKeyMapping\" : []}'\nA_b.c~");
    ASSERT_TRUE(server.waitForRequests(2));
    SCL::logError("error applying mapping - originalId or remappedId was blank\n\nhidutil x");
    ASSERT_TRUE(server.waitForRequests(3));

    const std::string device =
        escapedIdentityCharacters(SCL::osVersion() + "-" + SCL::appVersion());
    const std::string uid = escapedIdentityCharacters(SCL::userIdentity() + "-");
    const std::vector<testing::HttpsTestServer::Request> requests = server.requests();
    const QRegularExpression randomValue("^(0|[1-9][0-9]{0,8}) HTTP/1.1$");
    std::vector<std::string> randoms;
    const auto checkEvent = [&](const QByteArray& requestLine, const std::string& fields) {
        const std::string line = requestLine.toStdString();
        const std::string expected = "GET /logistics/ln.php?cat=keyvane" + fields +
                                     "&device=" + device + "&uid=" + uid + "&ran=";
        ASSERT_EQ(line.substr(0, expected.size()), expected);
        const std::string rest = line.substr(expected.size());
        EXPECT_TRUE(randomValue.match(QString::fromStdString(rest)).hasMatch()) << rest;
        randoms.push_back(rest);
    };
    checkEvent(requests[0].requestLine(), "&evtname=First%20launch&evtval=&notes=");
    checkEvent(requests[1].requestLine(),
               "&evtname=sh&evtval=cmd&notes=hidutil%20property%20%2D%2Dset%20%27%7B%22"
               "UserKeyMapping%22%20%3A%20%5B%5D%7D%27%0AA%5Fb%2Ec%7E");
    EXPECT_NE(randoms[0], randoms[1]);
    EXPECT_EQ(requests[2].requestLine().toStdString(),
              "GET /logistics/keyvanelog.php?err=error%20applying%20mapping%20%2D%20originalId"
              "%20or%20remappedId%20was%20blank%0A%0Ahidutil%20x%0A%0A" +
                  escapedIdentityCharacters(SCL::userIdentity()) + "%2D" + device + " HTTP/1.1");

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
