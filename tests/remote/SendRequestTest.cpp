#include <gtest/gtest.h>

#include <QTcpServer>
#include <QTest>
#include <QThread>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "platform/MainQueue.h"
#include "platform/UrlSession.h"
#include "remote/SCL.h"
#include "tests/support/HttpsTestServer.h"

namespace keyvane {
namespace {

using namespace std::chrono_literals;

// Everything the callbacks of one request saw, in the order they saw it.
struct Outcome {
    std::vector<std::string> calls;  // "text", "data", "failure"
    std::string text;
    std::vector<unsigned char> data;
    std::string failure;
    bool offMainThread = false;
};

void send(Outcome& outcome, const std::string& url, const std::string& body = "",
          const std::string& headerLines = "") {
    const auto onMainThread = [&outcome] {
        outcome.offMainThread |= QThread::currentThread() != qApp->thread();
    };
    SCL::sendRequest(
        url,
        [&outcome, onMainThread](const std::string& text) {
            onMainThread();
            outcome.calls.push_back("text");
            outcome.text = text;
        },
        [&outcome, onMainThread](const std::string& failure) {
            onMainThread();
            outcome.calls.push_back("failure");
            outcome.failure = failure;
        },
        body, headerLines,
        [&outcome, onMainThread](const std::vector<unsigned char>& data) {
            onMainThread();
            outcome.calls.push_back("data");
            outcome.data = data;
        });
}

// Drives the event loop until an outcome is complete, then a little longer to catch a second one.
bool waitForOutcome(const Outcome& outcome, std::chrono::milliseconds limit = 40s) {
    const bool done = QTest::qWaitFor(
        [&] {
            return outcome.calls == std::vector<std::string>{"failure"} ||
                   outcome.calls.size() >= 2;
        },
        static_cast<int>(limit.count()));
    QTest::qWait(200);
    return done;
}

std::vector<unsigned char> bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

class SendRequest : public ::testing::Test {
  protected:
    void SetUp() override { server.useForThisProcess(); }
    std::string url(const std::string& pathAndQuery) const {
        return "https://" + server.host() + pathAndQuery;
    }

    testing::HttpsTestServer server;
};

TEST_F(SendRequest, AnEmptyBodyMakesAGetAndABodyMakesAPostOfItsUtf8Bytes) {
    Outcome get;
    send(get, url("/report?a=1&b=x%20y"));
    ASSERT_TRUE(waitForOutcome(get));
    Outcome post;
    send(post, url("/submit"), "\xC3\xA9");
    ASSERT_TRUE(waitForOutcome(post));

    ASSERT_EQ(server.requests().size(), 2u);
    const auto& first = server.requests()[0];
    EXPECT_EQ(first.method, "GET");
    EXPECT_EQ(first.target, "/report?a=1&b=x%20y");
    EXPECT_TRUE(first.body.isEmpty());
    EXPECT_TRUE(first.headerValues("Content-Length").isEmpty());
    const auto& second = server.requests()[1];
    EXPECT_EQ(second.method, "POST");
    EXPECT_EQ(second.target, "/submit");
    EXPECT_EQ(second.body, "\xC3\xA9");
    EXPECT_EQ(get.calls, (std::vector<std::string>{"text", "data"}));
    EXPECT_EQ(post.calls, (std::vector<std::string>{"text", "data"}));
}

TEST_F(SendRequest, HeaderLinesAreSplitAtTheFirstColonAndSpaceAndMalformedOnesAreReported) {
    // Only line feeds: no field at all.
    Outcome none;
    send(none, url("/none"), "", "\n\n");
    ASSERT_TRUE(waitForOutcome(none));

    ::testing::internal::CaptureStdout();
    Outcome some;
    send(some, url("/some"), "", "A: b: c\nX-Twice: 1\n\nA:b\nx-twice: 2\n");
    ASSERT_TRUE(waitForOutcome(some));
    const std::string trace = ::testing::internal::GetCapturedStdout();
    EXPECT_NE(trace.find("textfrom - no match\ntextto - no match\n"), std::string::npos) << trace;
    EXPECT_EQ(some.calls, (std::vector<std::string>{"text", "data"}));

    ASSERT_EQ(server.requests().size(), 2u);
    const auto& plain = server.requests()[0];
    const auto& withFields = server.requests()[1];
    EXPECT_EQ(withFields.headerValues("A"), QList<QByteArray>{"b: c"});
    // A field given twice keeps both values.
    EXPECT_EQ(withFields.headerValues("X-Twice"), QList<QByteArray>{"1,2"});
    // The malformed line adds nothing that reaches the wire, and nothing else differs.
    EXPECT_EQ(withFields.headers.size(), plain.headers.size() + 2);
    for (const auto& [name, value] : withFields.headers)
        EXPECT_FALSE(name.isEmpty());
}

TEST_F(SendRequest, AnErrorStatusWithABodyIsAnAnswerAndAnEmptyBodyToo) {
    server.answerWith(500, "Oops!");
    Outcome failed;
    send(failed, url("/broken"));
    ASSERT_TRUE(waitForOutcome(failed));
    EXPECT_EQ(failed.calls, (std::vector<std::string>{"text", "data"}));
    EXPECT_EQ(failed.text, "Oops!");
    EXPECT_EQ(failed.data, bytes("Oops!"));

    server.answerWith(404, "");
    Outcome empty;
    send(empty, url("/missing"));
    ASSERT_TRUE(waitForOutcome(empty));
    EXPECT_EQ(empty.calls, (std::vector<std::string>{"text", "data"}));
    EXPECT_EQ(empty.text, "");
    EXPECT_TRUE(empty.data.empty());

    // Bytes outside ASCII stay one character each in the text and untouched in the data.
    server.answerWith(200, "a\xE9z");
    Outcome latin;
    send(latin, url("/latin"));
    ASSERT_TRUE(waitForOutcome(latin));
    EXPECT_EQ(latin.text, "a\xC3\xA9z");
    EXPECT_EQ(latin.data, bytes("a\xE9z"));
    EXPECT_FALSE(failed.offMainThread || empty.offMainThread || latin.offMainThread);
}

TEST_F(SendRequest, ARequestFromAnotherThreadAnswersOnTheMainQueue) {
    server.answerWith(200, "hello");
    Outcome outcome;
    std::thread([&] { send(outcome, url("/from-a-thread")); }).join();
    ASSERT_TRUE(waitForOutcome(outcome));
    EXPECT_EQ(outcome.calls, (std::vector<std::string>{"text", "data"}));
    EXPECT_EQ(outcome.text, "hello");
    EXPECT_FALSE(outcome.offMainThread);
}

TEST_F(SendRequest, AServerThatNeverAnswersEndsInOneFailureWhileTheMainQueueKeepsRunning) {
    server.neverAnswer();
    Outcome outcome;
    send(outcome, url("/silent"));
    ASSERT_TRUE(server.waitForRequests(1));

    // The application goes on: main-queue tasks run while the request hangs.
    int tasksRun = 0;
    for (int i = 0; i < 10; ++i)
        MainQueue::async([&] { ++tasksRun; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return tasksRun == 10; }, 10000));
    EXPECT_TRUE(outcome.calls.empty());

    ASSERT_TRUE(waitForOutcome(outcome, 40s));
    EXPECT_EQ(outcome.calls, std::vector<std::string>{"failure"});
    EXPECT_EQ(outcome.failure, "The request timed out.");
}

TEST_F(SendRequest, ConnectionsThatCannotBeMadeAreFailures) {
    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
    const quint16 port = closed.serverPort();
    closed.close();
    Outcome refused;
    send(refused, "https://127.0.0.1:" + std::to_string(port) + "/nobody");
    ASSERT_TRUE(waitForOutcome(refused));
    EXPECT_EQ(refused.calls, std::vector<std::string>{"failure"});
    EXPECT_EQ(refused.failure, "Connection refused");

    // A second server whose authority SSL_CERT_FILE does not name.
    testing::HttpsTestServer stranger;
    Outcome untrusted;
    send(untrusted, "https://" + stranger.host() + "/secret");
    ASSERT_TRUE(waitForOutcome(untrusted));
    EXPECT_EQ(untrusted.calls, std::vector<std::string>{"failure"});
    EXPECT_NE(untrusted.failure.find("SSL"), std::string::npos) << untrusted.failure;
    EXPECT_TRUE(stranger.requests().empty());

    // The built-in service host is reserved never to resolve; nothing is even looked up.
    Outcome placeholder;
    send(placeholder, "https://keyvane-service.invalid/logistics/ln.php?cat=keyvane");
    ASSERT_TRUE(waitForOutcome(placeholder));
    EXPECT_EQ(placeholder.calls, std::vector<std::string>{"failure"});
    EXPECT_EQ(placeholder.failure, "Host keyvane-service.invalid not found");

    Outcome unparsable;
    send(unparsable, "https://exa mple.test/");
    ASSERT_TRUE(waitForOutcome(unparsable));
    EXPECT_EQ(unparsable.calls, std::vector<std::string>{"failure"});
}

// The session's own limits, shortened: a server that keeps sending a byte now and then never
// trips the wait for data, but the whole exchange still ends at its limit.
TEST_F(SendRequest, NoExchangeOutlastsItsTotalLimitEvenWhileDataKeepsComing) {
    server.trickle(100ms);
    UrlRequest request;
    request.url = url("/endless");
    request.idleLimit = 1s;
    request.totalLimit = 3s;
    int completions = 0;
    UrlOutcome outcome;
    UrlSession::start(request, [&](UrlOutcome result) {
        ++completions;
        outcome = std::move(result);
    });
    ASSERT_TRUE(QTest::qWaitFor([&] { return completions > 0; }, 20000));
    QTest::qWait(200);
    EXPECT_EQ(completions, 1);
    EXPECT_TRUE(outcome.failed);
    EXPECT_EQ(outcome.errorDescription, "The request timed out.");
    EXPECT_FALSE(outcome.body.has_value());
}

}  // namespace
}  // namespace keyvane
