#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/MainQueue.h"
#include "platform/UrlSession.h"
#include "remote/SCL.h"
#include "tests/support/HttpsTestServer.h"

namespace keyvane {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::HttpsTestServer;
using ::testing::StartsWith;

// Every callback of one request, in the order they ran: "text <text>", "data <bytes>" or
// "failure <description>", each marked when it ran off the main thread.
using Outcome = std::vector<std::string>;

void send(Outcome& outcome, const std::string& url, const std::string& body = "",
          const std::string& headerLines = "") {
    const auto note = [&outcome](const std::string& call) {
        const bool offMainThread = QThread::currentThread() != qApp->thread();
        outcome.push_back((offMainThread ? "off the main thread: " : "") + call);
    };
    SCL::sendRequest(
        url, [note](const std::string& text) { note("text " + text); },
        [note](const std::string& failure) { note("failure " + failure); }, body, headerLines,
        [note](const std::vector<unsigned char>& data) {
            note("data " + std::string(data.begin(), data.end()));
        });
}

// Every callback of one answer runs in one main-queue task, so the first call completes an outcome.
// A second outcome would show when they are compared at the end of a test.
bool waitForOutcome(const Outcome& outcome) {
    return QTest::qWaitFor([&] { return !outcome.empty(); }, 60000);
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
    EXPECT_EQ(get, (Outcome{"text ", "data "}));
    EXPECT_EQ(post, (Outcome{"text ", "data "}));
}

// Up to the limit of an answer's size: a larger one fails, whatever its status.
TEST_F(SendRequest, EveryStatusWithItsBodyIsAnAnswerOnTheMainQueue) {
    struct Row {
        int status;
        std::string body;
        Outcome outcome;  // bytes above ASCII become one character each in the text
        bool fromAnotherThread = false;
    };
    const std::string largest(maxAnswerBytes, 'k');
    const std::vector<Row> rows = {
        {200, "fine", {"text fine", "data fine"}},
        {404, "", {"text ", "data "}},
        {407, "proxy?", {"text proxy?", "data proxy?"}},
        {500, "Oops!", {"text Oops!", "data Oops!"}, true},
        {200, "a\xE9z", {"text a\xC3\xA9z", "data a\xE9z"}},
        {200, largest, {"text " + largest, "data " + largest}},
        {404, largest + "k", {"failure The answer is larger than 1048576 bytes."}},
    };
    std::vector<Outcome> outcomes(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        server.answerWith(rows[i].status, QByteArray::fromStdString(rows[i].body));
        const std::string target = url("/status/" + std::to_string(rows[i].status));
        if (rows[i].fromAnotherThread)
            std::thread([&] { send(outcomes[i], target); }).join();
        else
            send(outcomes[i], target);
        ASSERT_TRUE(waitForOutcome(outcomes[i])) << rows[i].status;
    }
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_TRUE(outcomes[i] == rows[i].outcome)
            << rows[i].status << ": " << outcomes[i][0].substr(0, 80);
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
    // A request of the remote services to a server that never answers: still waiting once both
    // have ended, and when the program ends.
    static Outcome unfinished;  // never called, but must not point at a dead object
    send(unfinished, "https://127.0.0.1:" + std::to_string(testing::muteLoopbackPort()) + "/never");
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
    EXPECT_EQ(unfinished, Outcome{});
}

TEST_F(SendRequest, RequestsThatCannotBeMadeFailOnce) {
    HttpsTestServer stranger(HttpsTestServer::Certificate::Untrusted);
    Outcome refused, untrusted, placeholder, unparsable, plain, redirected;
    send(refused, "https://127.0.0.1:" + std::to_string(testing::unusedLoopbackPort()) + "/nobody");
    send(untrusted, "https://" + stranger.host() + "/secret");
    send(placeholder, "https://keyvane-service.invalid/logistics/ln.php?cat=keyvane");
    send(unparsable, "https://exa mple.test/");
    // Nothing goes out unencrypted, neither asked for nor by a redirect.
    send(plain, "http://" + server.host() + "/plain");
    ASSERT_TRUE(waitForOutcome(plain));
    server.answerWith(302, "", QByteArray::fromStdString("http://" + server.host() + "/plain"));
    send(redirected, url("/moved"));
    for (const Outcome* outcome : {&refused, &untrusted, &placeholder, &unparsable, &redirected})
        ASSERT_TRUE(waitForOutcome(*outcome));

    EXPECT_THAT(refused, ElementsAre(AllOf(StartsWith("failure "),
                                           HasSubstr("Couldn't connect to server"))));
    EXPECT_THAT(untrusted, ElementsAre(AllOf(StartsWith("failure "), HasSubstr("certificate"))));
    EXPECT_TRUE(stranger.requests().empty());
    EXPECT_EQ(placeholder, Outcome{"failure Could not resolve host: keyvane-service.invalid"});
    EXPECT_EQ(unparsable, Outcome{"failure The URL is not valid: https://exa mple.test/"});
    const Outcome notHttps = {R"(failure Protocol "http" not supported or disabled in libcurl)"};
    EXPECT_EQ(plain, notHttps);
    EXPECT_EQ(redirected, notHttps);
    ASSERT_EQ(server.requests().size(), 1u);
    EXPECT_EQ(server.requests()[0].target, "/moved");
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

    // Every reader's close of the pipe is counted; a reader that holds it open for a while after
    // the end of the file is still one reader.
    const int closes = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(::inotify_add_watch(closes, pipe.constData(), IN_CLOSE_NOWRITE), 0);
    std::atomic<bool> released = false, stop = false;
    bool servedUnreleased = false, served = false;
    // Gives `pem` to the first reader of the pipe, only the end of the file to any later one.
    const auto serve = [&] {
        const int fd = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd >= 0 && !std::exchange(served, true)) {
            EXPECT_EQ(::write(fd, pem.constData(), pem.size()), pem.size());
        }
        return fd >= 0 && ::close(fd) == 0;
    };
    std::thread writer([&] {
        // Should a call read the file itself, it is served after a while, and the test fails.
        for (const auto end = Clock::now() + 20s; !released && Clock::now() < end;)
            std::this_thread::sleep_for(5ms);
        servedUnreleased = !released;
        for (; !stop; std::this_thread::sleep_for(5ms))
            serve();
    });
    std::vector<Outcome> outcomes(3);
    for (std::size_t i = 0; i < outcomes.size(); ++i)
        send(outcomes[i], url("/request/" + std::to_string(i)));
    released = true;
    for (const Outcome& outcome : outcomes)
        EXPECT_TRUE(waitForOutcome(outcome));
    stop = true;
    writer.join();
    while (serve()) {  // exchanges that wait to read the file again
    }

    EXPECT_FALSE(servedUnreleased);
    inotify_event events[8];
    const ssize_t length = ::read(closes, events, sizeof events);
    EXPECT_EQ(length, static_cast<ssize_t>(sizeof(inotify_event))) << "readers of the file";
    ::close(closes);
    for (const Outcome& outcome : outcomes)
        EXPECT_EQ(outcome, (Outcome{"text ", "data "}));
}

}  // namespace
}  // namespace keyvane
