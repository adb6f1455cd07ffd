// Cost of hidutil: installing 1, 10 and 100 mappings on keyboards in memory (reading the text, the
// keymaps, writing the records), and starting the program, next to /bin/true.
//   build/bin/hidutil_bench
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "hidutil/Command.h"
#include "hidutil/RecordStore.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/TemporaryHome.h"

extern char** environ;

namespace {

using namespace keyvane;

const std::string clearText = R"({"UserKeyMapping" : []})";

// count mappings of consecutive keys, each to the next one.
std::string mappingText(int count) {
    std::string text = R"({"UserKeyMapping" : [)";
    for (int i = 0; i < count; ++i) {
        char entry[160];
        std::snprintf(entry, sizeof entry,
                      R"(%s{"HIDKeyboardModifierMappingSrc" : 0x7000000%02x, )"
                      R"("HIDKeyboardModifierMappingDst" : 0x7000000%02x})",
                      i ? "," : "", 4 + i, 5 + i);
        text += entry;
    }
    return text + "]}";
}

// The records live in XDG_RUNTIME_DIR, a tmpfs on a desktop; where /dev/shm exists the benchmark
// uses it too, so that it measures hidutil rather than the build machine's disk flushes.
class RuntimeDirOnTmpfs {
  public:
    RuntimeDirOnTmpfs() {
        std::string pattern = "/dev/shm/keyvane-bench-XXXXXX";
        if (::mkdtemp(pattern.data())) {
            folder_ = pattern;
            ::setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
        }
    }
    ~RuntimeDirOnTmpfs() {
        std::error_code ignored;
        if (!folder_.empty())
            std::filesystem::remove_all(folder_, ignored);
    }
    RuntimeDirOnTmpfs(const RuntimeDirOnTmpfs&) = delete;
    RuntimeDirOnTmpfs& operator=(const RuntimeDirOnTmpfs&) = delete;

  private:
    std::filesystem::path folder_;
};

// A laptop with an external keyboard: one AT and one USB keyboard.
void BM_PropertySet(benchmark::State& state) {
    testing::TemporaryHome home;
    RuntimeDirOnTmpfs runtime;
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

// The clearing command the application runs before every install.
void BM_PropertySetClear(benchmark::State& state) {
    testing::TemporaryHome home;
    RuntimeDirOnTmpfs runtime;
    testing::MemoryDeviceSource devices;
    devices.keyboards = {testing::atKeyboard(0), testing::hidKeyboard(0x27e, 5)};
    const auto folder = hidutil::RecordStore::defaultFolder();
    for (auto _ : state) {
        std::ostringstream out, err;
        hidutil::runCommand({"property", "--set", clearText}, devices, folder, out, err);
    }
}
BENCHMARK(BM_PropertySetClear)->Unit(benchmark::kMicrosecond);

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
    RuntimeDirOnTmpfs runtime;
    for (auto _ : state)
        spawnAndWait(HIDUTIL_PATH, {"hidutil", "property", "--set", clearText});
}
BENCHMARK(BM_ProcessHidutilClear)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
