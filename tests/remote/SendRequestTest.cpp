#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QTest>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <fstream>
#include <mutex>
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
using Clock = std::chrono::steady_clock;
using testing::HttpsTestServer;

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

// Drives the event loop until an outcome is complete. A second outcome would show in `calls`
// when they are compared at the end of a test.
bool waitForOutcome(const Outcome& outcome) {
    return QTest::qWaitFor(
        [&] {
            return outcome.calls == std::vector<std::string>{"failure"} ||
                   outcome.calls.size() >= 2;
        },
        60000);
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

    HttpsTestServer server;
};

TEST_F(SendRequest, TheRequestGoesOutByteForByteWithOnlyTheFieldsItWasGiven) {
    const std::string query = "/logistics/./x/../ln.php?a=1&b=x%20y&c=%2D%2E%5F%7E%27%0A&d=%252D";
    Outcome get;
    send(get, url(query), "", "\n\n");  // only line feeds: no field at all
    ASSERT_TRUE(waitForOutcome(get));

    ::testing::internal::CaptureStdout();
    Outcome post;
    send(post, url("/submit"), "\xC3\xA9", "A: b: c\nX-Twice: 1\n\nA:b\nx-twice: 2\n");
    ASSERT_TRUE(waitForOutcome(post));
    const std::string trace = ::testing::internal::GetCapturedStdout();
    EXPECT_NE(trace.find("textfrom - no match\ntextto - no match\n"), std::string::npos) << trace;

    const std::vector<HttpsTestServer::Request> requests = server.requests();
    ASSERT_EQ(requests.size(), 2u);
    const std::string host = server.host();
    EXPECT_EQ(requests[0].raw.toStdString(),
              "GET " + query + " HTTP/1.1\r\nHost: " + host + "\r\nAccept: */*\r\n\r\n");
    // A field given twice keeps both values; the malformed line adds nothing to the wire.
    EXPECT_EQ(requests[1].raw.toStdString(),
              "POST /submit HTTP/1.1\r\nHost: " + host +
                  "\r\nAccept: */*\r\nA: b: c\r\nX-Twice: 1,2\r\nContent-Length: 2\r\n"
                  "Content-Type: application/x-www-form-urlencoded\r\n\r\n\xC3\xA9");
    EXPECT_EQ(get.calls, (std::vector<std::string>{"text", "data"}));
    EXPECT_EQ(post.calls, (std::vector<std::string>{"text", "data"}));
}

TEST_F(SendRequest, EveryStatusWithItsBodyIsAnAnswerOnTheMainQueue) {
    struct Row {
        int status;
        std::string body;
        std::string text;  // bytes above ASCII become one character each
        bool fromAnotherThread = false;
    };
    const std::vector<Row> rows = {
        {200, "fine", "fine"},         {400, "bad request", "bad request"}, {404, "", ""},
        {407, "proxy?", "proxy?"},     {418, "teapot", "teapot", true},     {500, "Oops!", "Oops!"},
        {200, "a\xE9z", "a\xC3\xA9z"},
    };
    std::vector<Outcome> outcomes(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const Row& row = rows[i];
        server.answerWith(row.status, QByteArray::fromStdString(row.body));
        const std::string target = url("/status/" + std::to_string(row.status));
        if (row.fromAnotherThread)
            std::thread([&] { send(outcomes[i], target); }).join();
        else
            send(outcomes[i], target);
        ASSERT_TRUE(waitForOutcome(outcomes[i])) << row.status;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(outcomes[i].calls, (std::vector<std::string>{"text", "data"})) << rows[i].status;
        EXPECT_EQ(outcomes[i].text, rows[i].text);
        EXPECT_EQ(outcomes[i].data, bytes(rows[i].body));
        EXPECT_FALSE(outcomes[i].offMainThread) << rows[i].status;
    }
}

// With the limits shortened: a server that sends its header one byte at a time is cut off by the
// total limit only, one that never answers by the wait for data; both count from the call.
TEST_F(SendRequest, TheLimitsCountFromTheCallAndEveryByteThatArrives) {
    struct Ended {
        int completions = 0;
        UrlOutcome outcome;
        Clock::duration after{};
    };
    std::mutex mutex;
    const auto start = [&](const std::string& target, std::chrono::milliseconds idle,
                           std::chrono::milliseconds total, Ended& ended) {
        UrlRequest request;
        request.url = target;
        request.idleLimit = idle;
        request.totalLimit = total;
        const Clock::time_point called = Clock::now();
        UrlSession::start(request, [&mutex, &ended, called](UrlOutcome outcome) {
            std::lock_guard lock(mutex);
            ++ended.completions;
            ended.outcome = std::move(outcome);
            ended.after = Clock::now() - called;
        });
    };
    HttpsTestServer slow;
    slow.trickleHeader(200ms);
    server.neverAnswer();
    Ended trickled;
    Ended silent;
    start("https://" + slow.host() + "/slow", 2s, 4s, trickled);
    start(url("/silent"), 1s, 30s, silent);
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            std::lock_guard lock(mutex);
            return trickled.completions > 0 && silent.completions > 0;
        },
        60000));

    std::lock_guard lock(mutex);
    EXPECT_EQ(trickled.completions, 1);
    EXPECT_TRUE(trickled.outcome.failed);
    EXPECT_EQ(trickled.outcome.errorDescription, "The request timed out.");
    EXPECT_FALSE(trickled.outcome.body);
    EXPECT_GE(trickled.after, 4s);
    EXPECT_LT(trickled.after, 14s);

    EXPECT_EQ(silent.completions, 1);
    EXPECT_TRUE(silent.outcome.failed);
    EXPECT_EQ(silent.outcome.errorDescription, "The request timed out.");
    EXPECT_GE(silent.after, 1s);
    EXPECT_LT(silent.after, 11s);
    EXPECT_EQ(server.requests().size(), 1u);
}

TEST_F(SendRequest, RequestsThatCannotBeMadeFailOnce) {
    HttpsTestServer stranger(HttpsTestServer::Certificate::Untrusted);
    Outcome refused, untrusted, placeholder, unparsable;
    send(refused, "https://127.0.0.1:" + std::to_string(testing::unusedLoopbackPort()) + "/nobody");
    send(untrusted, "https://" + stranger.host() + "/secret");

    // The built-in service host is reserved never to resolve: it fails before the call returns.
    ::testing::internal::CaptureStdout();
    send(placeholder, "https://keyvane-service.invalid/logistics/ln.php?cat=keyvane");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "Could not resolve host: keyvane-service.invalid for "
              "https://keyvane-service.invalid/logistics/ln.php?cat=keyvane\n");
    send(unparsable, "https://exa mple.test/");

    for (const Outcome* outcome : {&refused, &untrusted, &placeholder, &unparsable})
        ASSERT_TRUE(waitForOutcome(*outcome));
    for (const Outcome* outcome : {&refused, &untrusted, &placeholder, &unparsable})
        EXPECT_EQ(outcome->calls, std::vector<std::string>{"failure"}) << outcome->failure;
    EXPECT_NE(refused.failure.find("Couldn't connect to server"), std::string::npos)
        << refused.failure;
    EXPECT_NE(untrusted.failure.find("certificate"), std::string::npos) << untrusted.failure;
    EXPECT_TRUE(stranger.requests().empty());
    EXPECT_EQ(placeholder.failure, "Could not resolve host: keyvane-service.invalid");
    EXPECT_EQ(unparsable.failure, "The URL is not valid: https://exa mple.test/");
}

// What this checks happens when the test program ends, with the exchange still waiting for the
// server's first byte: it is abandoned and its thread joined as the application object goes
// away, so the program ends at once and, under LeakSanitizer, leaves no TLS state behind.
TEST_F(SendRequest, AnExchangeStillRunningWhenTheProgramEndsIsAbandoned) {
    // Connections wait in its backlog, accepted by the kernel and never served; it stays open
    // until the program ends.
    static const int mute = [] {
        const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(listener, reinterpret_cast<sockaddr*>(&address), length);
        ::listen(listener, 8);
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
        return ntohs(address.sin_port);
    }();
    static Outcome outcome;  // the callbacks are never called, but must not point at a dead object
    send(outcome, "https://127.0.0.1:" + std::to_string(mute) + "/never");
    EXPECT_TRUE(outcome.calls.empty());
}

// How long the calling thread has waited so far for a processor while it could have run (the
// kernel's run-queue delay): time the machine took from it, not time it spent blocked.
Clock::duration runQueueWait() {
    std::ifstream stat("/proc/self/task/" + std::to_string(::gettid()) + "/schedstat");
    long long running = 0, waiting = 0;
    stat >> running >> waiting;
    return std::chrono::nanoseconds(waiting);
}

TEST_F(SendRequest, TheMainQueueKeepsItsPaceWhileRequestsRun) {
    struct Tick {
        Clock::time_point at;
        Clock::duration waited;
    };
    std::vector<Tick> ticks;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        MainQueue::async([&] { ticks.push_back({Clock::now(), runQueueWait()}); });
    });
    timer.start(10);
    ASSERT_TRUE(QTest::qWaitFor([&] { return ticks.size() >= 3; }, 20000));
    const std::size_t first = ticks.size() - 1;

    int outcomes = 0;
    const auto count = [&](const std::string&) { ++outcomes; };
    for (int i = 0; i < 20; ++i)
        SCL::sendRequest(url("/request/" + std::to_string(i)), count, count, "", "", {});
    ASSERT_TRUE(QTest::qWaitFor([&] { return outcomes == 20; }, 60000));
    const std::size_t last = ticks.size() + 1;
    ASSERT_TRUE(QTest::qWaitFor([&] { return ticks.size() > last; }, 20000));
    timer.stop();

    Clock::duration worst{};
    for (std::size_t i = first + 1; i < ticks.size(); ++i)
        worst = std::max(worst,
                         (ticks[i].at - ticks[i - 1].at) - (ticks[i].waited - ticks[i - 1].waited));
    EXPECT_LE(std::chrono::duration_cast<std::chrono::milliseconds>(worst).count(), 50);
    EXPECT_EQ(server.requests().size(), 20u);
}

}  // namespace
}  // namespace keyvane
