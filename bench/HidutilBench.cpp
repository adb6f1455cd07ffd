// Cost of hidutil: installing 1, 10 and 100 mappings on keyboards in memory (reading the text, the
// keymaps, writing the records); what the application runs at every installation (clear, then
// install) on 1, 2 and 8 keyboards, with and without reading every change back, and the ratio; and
// starting the program, next to /bin/true.
//   build/bin/hidutil_bench
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>

#include "bench/MappingLists.h"
#include "bench/RatioReporter.h"
#include "hidutil/Command.h"
#include "hidutil/RecordStore.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/TemporaryHome.h"

extern char** environ;

namespace {

using namespace keyvane;

using bench::clearText;
using bench::mappingText;

// The records live in XDG_STATE_HOME, on a disk whose flushes would swamp everything else; where
// /dev/shm exists the benchmarks put them there, so that they measure hidutil, unless told not to.
class StateOnTmpfs {
  public:
    StateOnTmpfs() {
        std::string pattern = "/dev/shm/keyvane-bench-XXXXXX";
        if (::mkdtemp(pattern.data())) {
            folder_ = pattern;
            ::setenv("XDG_STATE_HOME", folder_.c_str(), 1);
        }
    }
    ~StateOnTmpfs() {
        std::error_code ignored;
        if (!folder_.empty())
            std::filesystem::remove_all(folder_, ignored);
    }
    StateOnTmpfs(const StateOnTmpfs&) = delete;
    StateOnTmpfs& operator=(const StateOnTmpfs&) = delete;

  private:
    std::filesystem::path folder_;
};

// A laptop with an external keyboard: one AT and one USB keyboard.
void BM_PropertySet(benchmark::State& state) {
    testing::TemporaryHome home;
    StateOnTmpfs records;
    testing::MemoryDeviceSource devices;
    devices.keyboards = {testing::atKeyboard(0), testing::hidKeyboard(0x27e, 5)};
    const auto folder = hidutil::RecordStore::defaultFolder();
    const std::vector<std::string> set = {"property", "--set",
                                          mappingText(static_cast<int>(state.range(0)))};
    const std::vector<std::string> clear = {"property", "--set", clearText};
    for (auto _ : state) {
        std::ostringstream out, err;
        if (hidutil::runCommand(set, devices, folder, out, err) != hidutil::exitSuccess)
            state.SkipWithError(err.str().c_str());
        state.PauseTiming();
        hidutil::runCommand(clear, devices, folder, out, err);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PropertySet)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMicrosecond);

// What the application runs at every installation, Caps Lock -> Escape and nine letters, on several
// keyboards: the clearing command, then the list. Records on tmpfs, or on the disk of $TMPDIR.
void BM_ApplyMappings(benchmark::State& state) {
    testing::TemporaryHome home;
    std::optional<StateOnTmpfs> records;
    if (state.range(2))
        records.emplace();
    testing::MemoryDeviceSource devices;
    for (unsigned n = 0; n < state.range(0); ++n)
        devices.keyboards.push_back(testing::hidKeyboard(0x27e, 5 + n));
    const auto readBack = state.range(1) ? hidutil::ReadBack::Yes : hidutil::ReadBack::No;
    const auto folder = hidutil::RecordStore::defaultFolder();
    std::string list = mappingText(9);
    list.insert(list.size() - 2, R"(,{"HIDKeyboardModifierMappingSrc" : 0x700000039, )"
                                 R"("HIDKeyboardModifierMappingDst" : 0x700000029})");
    for (auto _ : state) {
        for (const std::string& text : {clearText, list}) {
            std::ostringstream out, err;
            if (hidutil::runCommand({"property", "--set", text}, devices, folder, out, err,
                                    readBack) != hidutil::exitSuccess)
                state.SkipWithError(err.str().c_str());
        }
    }
}
BENCHMARK(BM_ApplyMappings)
    ->ArgNames({"keyboards", "readback", "tmpfs"})
    ->ArgsProduct({{1, 2, 8}, {1, 0}, {1}})
    ->Args({2, 1, 0})
    ->Unit(benchmark::kMicrosecond);

void spawnAndWait(const char* path, std::vector<std::string> args) {
    std::vector<char*> argv;
    for (auto& arg : args)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    pid_t child;
    if (posix_spawn(&child, path, &actions, nullptr, argv.data(), environ) == 0)
        waitpid(child, nullptr, 0);
    posix_spawn_file_actions_destroy(&actions);
}

void BM_ProcessTrue(benchmark::State& state) {
    for (auto _ : state)
        spawnAndWait("/bin/true", {"/bin/true"});
}
BENCHMARK(BM_ProcessTrue)->Unit(benchmark::kMicrosecond);

void BM_ProcessHidutilHelp(benchmark::State& state) {
    for (auto _ : state)
        spawnAndWait(HIDUTIL_PATH, {"hidutil", "--help"});
}
BENCHMARK(BM_ProcessHidutilHelp)->Unit(benchmark::kMicrosecond);

// The clearing command on this machine's own event devices (none in a container or CI).
void BM_ProcessHidutilClear(benchmark::State& state) {
    testing::TemporaryHome home;
    StateOnTmpfs records;
    for (auto _ : state)
        spawnAndWait(HIDUTIL_PATH, {"hidutil", "property", "--set", clearText});
}
BENCHMARK(BM_ProcessHidutilClear)->Unit(benchmark::kMicrosecond);

// What reading every change back costs: the time with it over the time without, for each number
// of keyboards measured.
void readBackRatios(const bench::RatioReporter::Times& timeOf) {
    for (int keyboards : {1, 2, 8}) {
        const std::string name = "BM_ApplyMappings/keyboards:" + std::to_string(keyboards);
        const double with = timeOf(name + "/readback:1/tmpfs:1");
        const double without = timeOf(name + "/readback:0/tmpfs:1");
        if (with > 0 && without > 0)
            std::printf("read-back on %d keyboard(s): %.3f times the time without\n", keyboards,
                        with / without);
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter(readBackRatios);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
