// Cost of the remote services: encoding a report, decoding a configuration answer, and one whole
// request through its own HTTPS session (TLS handshake included, as every request pays it).
//   build/bin/remote_bench
#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QTest>
#include <string>

#include "remote/RemoteConfig.h"
#include "remote/SCL.h"
#include "tests/support/HttpsTestServer.h"

namespace {

using namespace keyvane;

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
BENCHMARK(BM_PercentEncodeCommand)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

void BM_DecodeConfigAnswer(benchmark::State& state) {
    // "config\nno\n1.1\n1.4" as the web service sends it.
    const std::string body = "fauM2buZWanpgbvpQMuEjCx4CN";
    for (auto _ : state)
        benchmark::DoNotOptimize(config_answer::decode(body));
}
BENCHMARK(BM_DecodeConfigAnswer)->Unit(benchmark::kMicrosecond);

void BM_RequestRoundTripOverLoopback(benchmark::State& state) {
    testing::HttpsTestServer server;
    server.useForThisProcess();
    server.answerWith(200, "ok");
    const std::string url = "https://" + server.host() + "/logistics/ln.php?cat=keyvane";
    for (auto _ : state) {
        bool done = false;
        SCL::sendRequest(
            url, [&](const std::string&) { done = true; }, [&](const std::string&) { done = true; },
            "", "", {});
        if (!QTest::qWaitFor([&] { return done; }, 30000)) {
            state.SkipWithError("no answer from the loopback server");
            break;
        }
    }
}
BENCHMARK(BM_RequestRoundTripOverLoopback)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
