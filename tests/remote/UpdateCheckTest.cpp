#include <gtest/gtest.h>

#include <QApplication>
#include <QByteArray>
#include <QTest>
#include <QTimer>
#include <optional>
#include <string>

#include "platform/MainQueue.h"
#include "platform/UserDefaults.h"
#include "remote/RemoteConfig.h"
#include "remote/SCL.h"
#include "remote/ServiceUrls.h"
#include "tests/support/AlertAnswerer.h"
#include "tests/support/HttpsTestServer.h"
#include "tests/support/OpenedUrls.h"

namespace keyvane {
namespace {

const QString requiredText =
    "This version is significantly outdated and will no longer work. Please relaunch the app "
    "after downloading the latest version.";
const QString advice =
    "\n\nIt is recommended that you update the app for stability and performance.";

std::string reversedCodePoints(const std::string& text) {
    std::u32string points = QString::fromStdString(text).toStdU32String();
    return QString::fromStdU32String({points.rbegin(), points.rend()}).toStdString();
}

// The web service's side of the answer format: reverse, base64, reverse, "=" written as "fau".
std::string encodedAnswer(const std::string& plain) {
    const QByteArray base64 = QByteArray::fromStdString(reversedCodePoints(plain)).toBase64();
    return QString::fromStdString(reversedCodePoints(base64.toStdString()))
        .replace("=", "fau")
        .toStdString();
}

TEST(ConfigAnswer, AcceptsExactlyFourLinesBeginningWithConfigAndNothingElse) {
    const auto decode = [](const std::string& plain) {
        return config_answer::decode(encodedAnswer(plain));
    };
    EXPECT_EQ(decode("config\nno\n1.1\n1.4"), (RemoteConfig{"config", "no", "1.1", "1.4"}));
    EXPECT_EQ(decode("config\n\n\n"), (RemoteConfig{"config", "", "", ""}));
    // Combining marks and characters beyond the first plane survive the round trip.
    EXPECT_EQ(decode("config\nyes \xF0\x9F\x98\x80\n1.e\xCC\x81\n 2 "),
              (RemoteConfig{"config", "yes \xF0\x9F\x98\x80", "1.e\xCC\x81", " 2 "}));

    for (const std::string plain : {"config\nno\n1.1\n1.4\n", "Config\nno\n1.1\n1.4",
                                    "config \nno\n1.1\n1.4", "config\nno\n1.1", "", "config"})
        EXPECT_FALSE(decode(plain)) << plain;

    const std::string good = encodedAnswer("config\nno\n1.1\n1.4");
    // Its padding left out, the base64 still decodes, but is no multiple of four characters.
    const std::string unpadded = QString::fromStdString(good).remove("fau").toStdString();
    ASSERT_NE(unpadded, good);
    for (const std::string& body : {good + "\n", "\n" + good, good.substr(1), good + "!",
                                    std::string("not base64 at all"), std::string(), unpadded})
        EXPECT_FALSE(config_answer::decode(body)) << body;
    // Bytes that are not UTF-8, properly encoded.
    const std::string invalidUtf8 =
        QByteArray("\xFF\xFE").toBase64().replace("=", "fau").toStdString();
    EXPECT_EQ(config_answer::decodedText(reversedCodePoints(invalidUtf8)), "");

    // Base64 of ASCII never holds "uaf"; the Thai digit seven after an é makes it appear, so the
    // reversed text holds "fau" in its middle, which is taken for padding: the answer is refused.
    const std::string thai = "config\n\xC3\xA9\xE0\xB9\xA7\n1.1\n1.4";
    ASSERT_NE(QByteArray::fromStdString(reversedCodePoints(thai)).toBase64().indexOf("uaf"), -1);
    EXPECT_FALSE(decode(thai));
}

// Each pair sorts in this order and never the other way round; é written as e + combining acute
// equals the precomposed é, which sorts above f.
TEST(VersionOrder, ComparesCanonicalTextsCodePointByCodePoint) {
    const std::pair<std::string, std::string> ordered[] = {
        {"1.1", "1.1.1"}, {"1.10", "1.9"}, {"1.1", "1.2"},
        {"", "1.1"},      {"1.Z", "1.a"},  {"1.f", "1.e\xCC\x81"}};
    for (const auto& [lower, higher] : ordered) {
        EXPECT_TRUE(versionSortsBelow(lower, higher)) << lower << " < " << higher;
        EXPECT_FALSE(versionSortsBelow(higher, lower)) << higher << " < " << lower;
    }
    for (const auto& [version, same] :
         {std::pair{"1.1", "1.1"}, std::pair{"1.e\xCC\x81", "1.\xC3\xA9"}}) {
        EXPECT_FALSE(versionSortsBelow(version, same)) << version;
        EXPECT_FALSE(versionSortsBelow(same, version)) << version;
    }
}

class UpdateCheck : public ::testing::Test {
  protected:
    void SetUp() override {
        // As in the application: closing an alert must not end the event loop.
        QApplication::setQuitOnLastWindowClosed(false);
        qputenv("KEYVANE_SERVICE_HOST", "updates.example");
        remoteConfig = RemoteConfig{};
    }

    // Runs the check as a main-queue task inside the application's event loop. Returns 0 when it
    // ended the application, 1 when the loop kept running afterwards, 99 when it got stuck.
    static int check() {
        QTimer ticks;
        int turns = 0;
        // Several turns of the loop: an application that was told to end has none left.
        ticks.callOnTimeout([&] {
            if (++turns == 5)
                QCoreApplication::exit(1);
        });
        MainQueue::async([&] {
            SCL::checkForUpdate();
            ticks.start(0);
        });
        QTimer::singleShot(60000, &ticks, [] { QCoreApplication::exit(99); });
        return QApplication::exec();
    }

    testing::AlertAnswerer answerer;
    testing::OpenedUrls browser;
};

// Versions that do not sort above the installed one show nothing: the defaults, equal to it, and
// larger as numbers but smaller as text. An update is offered until the user declines that
// version; one below the minimum is required whatever was declined, and ends the application.
TEST_F(UpdateCheck, AnUpdateIsOfferedUntilDeclinedARequiredOneEndsTheApplication) {
    const struct {
        std::string minimum, latest;
        const char* answer;  // none: no alert
        std::size_t alerts;  // seen so far
        std::optional<std::string> declined;
    } checks[] = {
        {"1.1", "1.1", nullptr, 0, {}},
        {"1.2.0", "1.2.0", nullptr, 0, {}},
        {"1.10", "1.10", nullptr, 0, {}},
        {"1.1", "1.4", "Download now", 1, {}},
        {"1.1", "1.4", "", 2, {}},  // closed without a choice: nothing happens
        {"1.1", "1.4", "Don't show again for this version", 3, "1.4"},
        {"1.1", "1.4", nullptr, 3, "1.4"},
        {"1.1", "1.5", "Don't show again for this version", 4, "1.5"},
    };
    for (const auto& step : checks) {
        remoteConfig = {"config", "", step.minimum, step.latest};
        if (step.answer)
            answerer.answerNext(step.answer);
        EXPECT_EQ(check(), 1) << step.latest;
        EXPECT_EQ(answerer.seen().size(), step.alerts) << step.latest;
        EXPECT_EQ(UserDefaults::standard().stringForKey("noupdateprompt"), step.declined);
    }
    EXPECT_EQ(
        answerer.seen().front(),
        (testing::AlertAnswerer::Seen{"App update available",
                                      "Currently installed: 1.2.0\nLatest version:1.4" + advice,
                                      {"Download now", "Don't show again for this version"},
                                      "Download now"}));
    EXPECT_EQ(answerer.seen().back().informativeText,
              "Currently installed: 1.2.0\nLatest version:1.5" + advice);

    remoteConfig.minimumVersion = "1.5";
    answerer.answerNext("Visit download page");
    EXPECT_EQ(check(), 0);
    EXPECT_EQ(
        answerer.seen().back(),
        (testing::AlertAnswerer::Seen{
            "App update required", requiredText, {"Visit download page"}, "Visit download page"}));
    EXPECT_EQ(browser.urls(), QStringList(2, "https://updates.example/keyvane/"));
}

// The configuration is fetched and applied, and the check runs once afterwards, whether the
// answer was accepted, refused or never came.
TEST_F(UpdateCheck, AfterFetchingTheConfigurationTheCheckRunsOnceWithWhatItHas) {
    testing::HttpsTestServer server;
    server.useForThisProcess();
    server.answerWith(200, QByteArray::fromStdString(encodedAnswer("config\nyes\n1.0\n1.4")));
    answerer.answerNext("Don't show again for this version");
    ::testing::internal::CaptureStdout();
    SCL::fetchConfig();
    ASSERT_TRUE(QTest::qWaitFor([&] { return answerer.seen().size() == 1; }, 20000));
    EXPECT_EQ(answerer.seen().back().informativeText,
              "Currently installed: 1.2.0\nLatest version:1.4" + advice);
    EXPECT_EQ(remoteConfig, (RemoteConfig{"config", "yes", "1.0", "1.4"}));
    ASSERT_EQ(server.requests().size(), 1u);
    const std::string target = server.requests().front().target.toStdString();
    const std::string random = target.substr(target.rfind("&ran=") + 5);
    EXPECT_EQ("https://" + server.host() + target, service::configUrl(std::stoul(random)));

    // Stand-in for the values of an earlier answer, so that the check shows whether it ran.
    remoteConfig.latestVersion = "9";
    server.answerWith(500, "config\nno\n1.1\n1.1");
    answerer.answerNext("Don't show again for this version");
    SCL::fetchConfig();
    ASSERT_TRUE(QTest::qWaitFor([&] { return answerer.seen().size() == 2; }, 20000));
    EXPECT_EQ(remoteConfig.latestVersion, "9");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "config loaded\n");

    qputenv("KEYVANE_SERVICE_HOST",
            "127.0.0.1:" + QByteArray::number(testing::unusedLoopbackPort()));
    remoteConfig.latestVersion = "10";
    answerer.answerNext("Download now");
    answerer.answerNext("");  // closes the alert of a second check, should there be one
    SCL::fetchConfig();
    ASSERT_TRUE(QTest::qWaitFor([&] { return answerer.seen().size() >= 3; }, 20000));
    answerer.drain();
    EXPECT_EQ(answerer.seen().size(), 3u);
    EXPECT_EQ(answerer.seen().back().informativeText,
              "Currently installed: 1.2.0\nLatest version:10" + advice);
}

}  // namespace
}  // namespace keyvane
