// Cost of the remote services: encoding a report, decoding a configuration answer, and one request
// through its own HTTPS session (TLS handshake included, as every request pays it), with the
// extra authorities of SSL_CERT_FILE in force as in the tests.
//   build/bin/remote_bench
// BM_Request also reports what a request costs the main thread, which calls sendRequest in the
// application (see its counters), and BM_ThirtyRequests the threads that requests made at once
// keep alive. The ratios at the end set them against floors measured in the same run: the main
// thread's time for a bare delivery on the main queue, and the threads alive before the requests.
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QTest>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>

#include "bench/RatioReporter.h"
#include "platform/MainQueue.h"
#include "remote/RemoteConfig.h"
#include "remote/SCL.h"
#include "tests/support/HttpsTestServer.h"

namespace {

using namespace keyvane;
using Clock = std::chrono::steady_clock;

// The notes of an "sh"/"cmd" event: the hidutil command for `count` mappings.
std::string hidutilCommand(std::size_t count) {
    std::string command = "hidutil property --set '{\"UserKeyMapping\" : [";
    for (std::size_t i = 0; i < count; ++i) {
        command += i ? ", " : "";
        command +=
            "{\"HIDKeyboardModifierMappingSrc\" : 0x700000039, "
            "\"HIDKeyboardModifierMappingDst\" : 0x700000029}";
    }
    return command + "]}'";
}

void BM_PercentEncodeCommand(benchmark::State& state) {
    const std::string command = hidutilCommand(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(SCL::percentEncode(command));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * command.size()));
}
BENCHMARK(BM_PercentEncodeCommand)->Arg(1)->Arg(100)->Arg(1000)->Unit(benchmark::kMicrosecond);

void BM_DecodeConfigAnswer(benchmark::State& state) {
    // "config\nno\n1.1\n1.4" as the web service sends it.
    const std::string body = "fauM2buZWanpgbvpQMuEjCx4CN";
    for (auto _ : state)
        benchmark::DoNotOptimize(config_answer::decode(body));
}
BENCHMARK(BM_DecodeConfigAnswer)->Unit(benchmark::kMicrosecond);

// The processor time the calling thread has used so far.
std::chrono::nanoseconds threadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

double microseconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::micro>(time).count();
}

// The threads of this process at the moment.
double threadsAlive() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<double>(std::distance(begin(tasks), end(tasks)));
}

// The floor of any outcome: a task handed to the main queue from another thread, as an exchange
// hands over its outcome. Counter: main_cpu_max_us, the longest the main thread spent on one.
void BM_MainQueueDelivery(benchmark::State& state) {
    std::chrono::nanoseconds longest{};
    for (auto _ : state) {
        bool done = false;
        const auto cpuBefore = threadTime();
        std::thread([&done] { MainQueue::async([&done] { done = true; }); }).join();
        if (!QTest::qWaitFor([&] { return done; }, 30000)) {
            state.SkipWithError("the main queue did not run the task");
            break;
        }
        longest = std::max(longest, threadTime() - cpuBefore);
    }
    state.counters["main_cpu_max_us"] = microseconds(longest);
}
BENCHMARK(BM_MainQueueDelivery)->Unit(benchmark::kMicrosecond)->Iterations(30);

// One request to the loopback server per iteration, timed from the call until onText has run on
// the main queue. Counters: call_us, the time until sendRequest returned; main_cpu_us, the
// processor time the main thread spent on the request in all (the call and the event loop's work
// until the answer had been delivered), main_cpu_max_us the most of it for one request.
void BM_Request(benchmark::State& state) {
    testing::HttpsTestServer server;
    server.useForThisProcess();
    server.answerWith(200, "ok");
    const std::string url = "https://" + server.host() + "/logistics/ln.php?cat=keyvane";
    double callSeconds = 0;
    double mainCpuSeconds = 0;
    std::chrono::nanoseconds longest{};
    for (auto _ : state) {
        bool done = false;
        const auto finish = [&](const std::string&) { done = true; };
        const auto cpuBefore = threadTime();
        const Clock::time_point start = Clock::now();
        SCL::sendRequest(url, finish, finish, "", "", {});
        callSeconds += std::chrono::duration<double>(Clock::now() - start).count();
        if (!QTest::qWaitFor([&] { return done; }, 30000)) {
            state.SkipWithError("no answer from the loopback server");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
        const std::chrono::nanoseconds mainCpu = threadTime() - cpuBefore;
        mainCpuSeconds += std::chrono::duration<double>(mainCpu).count();
        longest = std::max(longest, mainCpu);
    }
    const auto perRequest = [&](double seconds) {
        return benchmark::Counter(seconds * 1e6, benchmark::Counter::kAvgIterations);
    };
    state.counters["call_us"] = perRequest(callSeconds);
    state.counters["main_cpu_us"] = perRequest(mainCpuSeconds);
    state.counters["main_cpu_max_us"] = microseconds(longest);
}
BENCHMARK(BM_Request)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(30);

// 30 requests made at once, as reports are, timed until every outcome has reached the main queue.
// Counters: threads_before, the threads alive before the first call; threads_most, the most alive
// until the last outcome (looked at after the calls, at every outcome and at every turn of the
// wait).
void BM_ThirtyRequests(benchmark::State& state) {
    testing::HttpsTestServer server;
    server.useForThisProcess();
    server.answerWith(200, "ok");
    const std::string url = "https://" + server.host() + "/logistics/ln.php?cat=keyvane";
    double before = 0;
    double most = 0;
    for (auto _ : state) {
        before = threadsAlive();
        most = before;
        int outcomes = 0;
        const auto finish = [&](const std::string&) {
            ++outcomes;
            most = std::max(most, threadsAlive());
        };
        for (int i = 0; i < 30; ++i)
            SCL::sendRequest(url, finish, finish, "", "", {});
        most = std::max(most, threadsAlive());
        if (!QTest::qWaitFor(
                [&] {
                    most = std::max(most, threadsAlive());
                    return outcomes == 30;
                },
                60000)) {
            state.SkipWithError("not every request was answered");
            break;
        }
    }
    state.counters["threads_before"] = before;
    state.counters["threads_most"] = most;
}
BENCHMARK(BM_ThirtyRequests)->Unit(benchmark::kMillisecond)->Iterations(1);

// The threads that 30 requests add, and the longest a request holds the main thread, each over its
// floor from this run.
void requestRatios(const bench::RatioReporter::Times& valueOf) {
    const double before = valueOf("BM_ThirtyRequests/threads_before");
    const double most = valueOf("BM_ThirtyRequests/threads_most");
    if (before > 0)
        std::printf("30 requests at once: %.0f threads alive at most, %.0f before: %.2f times\n",
                    most, before, most / before);
    const double floor = valueOf("BM_MainQueueDelivery/main_cpu_max_us");
    const double longest = valueOf("BM_Request/main_cpu_max_us");
    if (floor > 0 && longest > 0)
        std::printf(
            "longest main-thread time for a request: %.0f us, %.2f times a bare delivery "
            "(%.0f us)\n",
            longest, longest / floor, floor);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter(requestRatios);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
