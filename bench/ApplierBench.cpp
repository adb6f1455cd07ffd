// Cost of installing the mapping list against the recording fake hidutil, next to the floor that
// the two commands of every installation impose: two shells, each starting that hidutil. The
// application's trace of every run goes to /dev/null; the report keeps the terminal. Then one
// installation from the window as the Status column follows it: read back with a `hidutil status`
// process, or from the status file the installation left, and the ratio of the two.
//   build/bin/applier_bench
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <fstream>

#include "bench/RatioReporter.h"
#include "engine/MappingApplier.h"
#include "engine/MappingStatus.h"
#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "hidutil/Status.h"
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

// One Caps Lock -> Escape installed and read back; with file:1 the fake leaves the status file as
// hidutil does, with file:0 it does not, so that `hidutil status` runs.
void BM_InstallFromWindow(benchmark::State& state) {
    testing::TemporaryHome home;
    testing::FakeHidutil hidutil;
    MappingStatus::followInstallations(nullptr);
    keyMappings.assign(1, KeyMapping{{"original", "Caps Lock"},
                                     {"originalId", "39"},
                                     {"remapped", "Escape"},
                                     {"remappedId", "29"}});
    const std::string noKeyboards = hidutil::formatStatusJson({});
    std::size_t runs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        runs = hidutil.calls().size();
        hidutil.clearCalls();
        if (state.range(0))
            hidutil.leaveStatus("property", noKeyboards, 2);
        state.ResumeTiming();
        MappingApplier::applyMappings();
    }
    state.counters["hidutil_runs"] = double(runs);  // of the last installation but one
    MappingApplier::setAroundInstall(nullptr, nullptr);
}
BENCHMARK(BM_InstallFromWindow)->ArgName("file")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

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
    // What the status process costs an installation from the window.
    bench::RatioReporter reporter(
        [&report](const bench::RatioReporter::Times& timeOf) {
            const double process = timeOf("BM_InstallFromWindow/file:0");
            const double file = timeOf("BM_InstallFromWindow/file:1");
            if (process > 0 && file > 0)
                report << "installation read back by `hidutil status`: " << process / file
                       << " times the time with the status file\n";
        },
        colour ? benchmark::ConsoleReporter::OO_ColorTabular
               : benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&report);
    reporter.SetErrorStream(&report);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
