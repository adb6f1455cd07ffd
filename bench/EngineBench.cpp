// Cost of the engine's building blocks: running a shell command and storing the mapping list.
//   build/bin/engine_bench
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/wait.h>

#include "engine/MappingStore.h"
#include "engine/ShellRunner.h"
#include "platform/UserDefaults.h"
#include "tests/support/TemporaryHome.h"

extern char** environ;

namespace {

using namespace keyvane;

void BM_ShellRunnerTrue(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(ShellRunner::run("true"));
}
BENCHMARK(BM_ShellRunnerTrue)->Unit(benchmark::kMicrosecond);

// The floor: starting and reaping a process without bash or a pipe.
void BM_BareSpawnTrue(benchmark::State& state) {
    char* argv[] = {const_cast<char*>("/bin/true"), nullptr};
    for (auto _ : state) {
        pid_t child;
        posix_spawn(&child, "/bin/true", nullptr, nullptr, argv, environ);
        waitpid(child, nullptr, 0);
    }
}
BENCHMARK(BM_BareSpawnTrue)->Unit(benchmark::kMicrosecond);

void fillMappings(std::size_t count) {
    keyMappings.assign(count, KeyMapping{{"original", "Caps Lock"},
                                         {"originalId", "39"},
                                         {"remapped", "Escape"},
                                         {"remappedId", "29"}});
}

void BM_SaveMappings(benchmark::State& state) {
    testing::TemporaryHome home;
    fillMappings(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        MappingStore::saveMappings();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_SaveMappings)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Loading after another process wrote the file: the parse is part of every iteration.
void BM_LoadMappingsAfterChange(benchmark::State& state) {
    testing::TemporaryHome home;
    fillMappings(static_cast<std::size_t>(state.range(0)));
    MappingStore::saveMappings();
    for (auto _ : state) {
        state.PauseTiming();
        // Another writer replaces the file, so the cached contents must not answer.
        UserDefaults(UserDefaults::standardPath())
            .setStringDictionaryArray("keydata2", keyMappings);
        state.ResumeTiming();
        MappingStore::loadMappings();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_LoadMappingsAfterChange)
    ->Arg(10)
    ->Arg(1000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void BM_LoadMappingsUnchanged(benchmark::State& state) {
    testing::TemporaryHome home;
    fillMappings(static_cast<std::size_t>(state.range(0)));
    MappingStore::saveMappings();
    for (auto _ : state)
        MappingStore::loadMappings();
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_LoadMappingsUnchanged)->Arg(10)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
