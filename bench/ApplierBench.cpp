// Cost of installing the mapping list against the recording fake hidutil, next to the floor that
// the two commands of every installation impose: two shells, each starting that hidutil. The
// application's trace of every run goes to /dev/null; the report keeps the terminal.
//   build/bin/applier_bench
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <fstream>

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

void BM_TwoHidutilRuns(benchmark::State& state) {
    testing::TemporaryHome home;
    testing::FakeHidutil hidutil;
    for (auto _ : state) {
        ShellRunner::run(MappingApplier::clearingCommand);
        ShellRunner::run(MappingApplier::clearingCommand);
        state.PauseTiming();
        hidutil.clearCalls();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_TwoHidutilRuns)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    std::ofstream report("/dev/stdout");
    const bool colour = ::isatty(STDOUT_FILENO);
    const int quiet = ::open("/dev/null", O_WRONLY);
    ::dup2(quiet, STDOUT_FILENO);
    ::dup2(quiet, STDERR_FILENO);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::ConsoleReporter reporter(colour ? benchmark::ConsoleReporter::OO_ColorTabular
                                               : benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&report);
    reporter.SetErrorStream(&report);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
