#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <atomic>
#include <chrono>
#include <condition_variable>
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
// total limit only, one that never answers by the wait for data; both count from the call. An
// exchange that is still waiting when the program ends is abandoned and its thread joined as the
// application object goes away: the program ends at once and, under LeakSanitizer, leaves no TLS
// state behind.
TEST_F(SendRequest, TheLimitsCountFromTheCallAndEveryByteThatArrives) {
    using Ends =
        std::vector<std::pair<UrlOutcome, Clock::duration>>;  // how, and when after the call
    const auto start = [](const std::string& url, std::chrono::milliseconds idle,
                          std::chrono::milliseconds total, Ends& ends) {
        const Clock::time_point called = Clock::now();
        UrlSession::start({url, "GET", "", {}, idle, total}, [&ends, called](UrlOutcome outcome) {
            const Clock::duration after = Clock::now() - called;
            MainQueue::async([&ends, outcome, after] { ends.emplace_back(outcome, after); });
        });
    };
    HttpsTestServer slow;
    slow.trickleHeader(200ms);
    server.neverAnswer();
    Ends trickled, silent;
    start("https://" + slow.host() + "/slow", 2s, 4s, trickled);
    start(url("/silent"), 1s, 30s, silent);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !trickled.empty() && !silent.empty(); }, 60000));

    for (const Ends* ends : {&trickled, &silent}) {
        ASSERT_EQ(ends->size(), 1u);
        EXPECT_TRUE(ends->front().first.failed);
        EXPECT_EQ(ends->front().first.errorDescription, "The request timed out.");
    }
    // Ended by the total limit (to within libcurl's millisecond), never by the wait for data.
    EXPECT_GT(trickled.front().second, 3s);
    EXPECT_LT(trickled.front().second, 14s);
    EXPECT_GT(silent.front().second, 900ms);
    EXPECT_LT(silent.front().second, 11s);
    EXPECT_EQ(server.requests().size(), 1u);

    static Outcome unfinished;  // never called, but must not point at a dead object
    send(unfinished, "https://127.0.0.1:" + std::to_string(testing::muteLoopbackPort()) + "/never");
}

TEST_F(SendRequest, RequestsThatCannotBeMadeFailOnce) {
    HttpsTestServer stranger(HttpsTestServer::Certificate::Untrusted);
    Outcome refused, untrusted, placeholder, unparsable;
    send(refused, "https://127.0.0.1:" + std::to_string(testing::unusedLoopbackPort()) + "/nobody");
    send(untrusted, "https://" + stranger.host() + "/secret");

    send(placeholder, "https://keyvane-service.invalid/logistics/ln.php?cat=keyvane");
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

// With SSL_CERT_FILE a pipe that nobody writes to yet, the calls return: the authorities are not
// read by the thread that calls. Once the pipe is served, every request is answered, and the file
// was read once for all of them (in a process of its own, as ctest runs each test; a process whose
// earlier requests read the authorities reads nothing).
TEST_F(SendRequest, TheAuthoritiesAreReadOnceAndNotByTheCallingThread) {
    QFile trusted(qEnvironmentVariable("SSL_CERT_FILE"));
    ASSERT_TRUE(trusted.open(QIODevice::ReadOnly));
    const QByteArray pem = trusted.readAll();
    QTemporaryDir folder;
    const QByteArray pipe = folder.filePath("authorities.pem").toLocal8Bit();
    ASSERT_EQ(::mkfifo(pipe.constData(), 0600), 0);
    qputenv("SSL_CERT_FILE", pipe);

    std::mutex mutex;
    std::condition_variable changed;
    bool released = false;
    bool servedUnreleased = false;
    std::atomic<bool> stop = false;
    int reads = 0;
    // Opens the pipe when somebody reads it: true once that reader has been given `pem` (or, after
    // `pem` was given once, only the end of the file).
    const auto serve = [&] {
        const int fd = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0)
            return false;
        if (reads++ == 0) {
            EXPECT_EQ(::write(fd, pem.constData(), pem.size()), pem.size());
        }
        ::close(fd);
        return true;
    };
    std::thread writer([&] {
        std::unique_lock lock(mutex);
        // Should a call read the file itself, it is served after a while, and the test fails.
        servedUnreleased = !changed.wait_for(lock, 20s, [&] { return released; });
        while (!stop && !serve())
            changed.wait_for(lock, 5ms);
    });
    std::vector<Outcome> outcomes(3);
    for (std::size_t i = 0; i < outcomes.size(); ++i)
        send(outcomes[i], url("/request/" + std::to_string(i)));
    {
        std::lock_guard lock(mutex);
        released = true;
    }
    changed.notify_one();
    for (const Outcome& outcome : outcomes)
        EXPECT_TRUE(waitForOutcome(outcome));
    stop = true;
    writer.join();
    while (serve()) {  // exchanges that wait to read the file again
    }

    EXPECT_FALSE(servedUnreleased);
    EXPECT_LE(reads, 1);
    for (const Outcome& outcome : outcomes)
        EXPECT_EQ(outcome.calls, (std::vector<std::string>{"text", "data"})) << outcome.failure;
}

}  // namespace
}  // namespace keyvane
