// Cost of installing the mapping list against the recording fake hidutil, next to the floor that
// the two shell commands of every installation impose.
//   build/bin/applier_bench
#include <benchmark/benchmark.h>

#include <QApplication>

#include "engine/MappingApplier.h"
#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "tests/support/FakeHidutil.h"
#include "tests/support/TemporaryHome.h"

namespace {

using namespace keyvane;

void BM_ApplyMappings(benchmark::State& state) {
    testing::TemporaryHome home;
    testing::FakeHidutil hidutil;
    keyMappings.assign(static_cast<std::size_t>(state.range(0)),
                       KeyMapping{{"original", "Caps Lock"},
                                  {"originalId", "39"},
                                  {"remapped", "Escape"},
                                  {"remappedId", "29"}});
    for (auto _ : state) {
        MappingApplier::applyMappings();
        state.PauseTiming();
        hidutil.clearCalls();  // keep the fake's log from growing across iterations
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ApplyMappings)->Arg(1)->Arg(10)->Arg(100)->Arg(1000)->Unit(benchmark::kMillisecond);

void BM_TwoBareShellRuns(benchmark::State& state) {
    for (auto _ : state) {
        ShellRunner::run("true");
        ShellRunner::run("true");
    }
}
BENCHMARK(BM_TwoBareShellRuns)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
