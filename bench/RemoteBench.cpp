// Cost of the remote services: encoding a report, decoding a configuration answer, and one request
// through its own HTTPS session (TLS handshake included, as every request pays it), with the
// extra authorities of SSL_CERT_FILE in force as in the tests.
//   build/bin/remote_bench
// BM_Request also reports what a request costs the main thread, which calls sendRequest in the
// application (see its counters).
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QTest>
#include <chrono>
#include <ctime>
#include <string>

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

// One request to the loopback server per iteration, timed from the call until onText has run on
// the main queue. Counters: call_us, the time until sendRequest returned; main_cpu_us, the
// processor time the main thread spent on the request in all (the call and the event loop's work
// until the answer had been delivered).
void BM_Request(benchmark::State& state) {
    testing::HttpsTestServer server;
    server.useForThisProcess();
    server.answerWith(200, "ok");
    const std::string url = "https://" + server.host() + "/logistics/ln.php?cat=keyvane";
    double callSeconds = 0;
    double mainCpuSeconds = 0;
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
        mainCpuSeconds += std::chrono::duration<double>(threadTime() - cpuBefore).count();
    }
    const auto perRequest = [&](double seconds) {
        return benchmark::Counter(seconds * 1e6, benchmark::Counter::kAvgIterations);
    };
    state.counters["call_us"] = perRequest(callSeconds);
    state.counters["main_cpu_us"] = perRequest(mainCpuSeconds);
}
BENCHMARK(BM_Request)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(30);

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
