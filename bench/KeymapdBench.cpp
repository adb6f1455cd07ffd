// Cost of the keymap service: installing 1 and 100 mappings on a keyboard in memory through the
// service (on a system bus of its own, polkit stood in for) next to the same install in-process,
// for the call alone and for whole hidutil processes, and the ratios.
//   build/bin/keymapd_bench
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>

#include "bench/MappingLists.h"
#include "bench/RatioReporter.h"
#include "hidutil/Command.h"
#include "hidutil/KeymapBus.h"
#include "keymapd/KeymapService.h"
#include "tests/hidutil/MemoryDevices.h"
#include "tests/support/PrivateSystemBus.h"
#include "tests/support/TemporaryHome.h"

extern char** environ;

namespace {

using namespace keyvane;
namespace fs = std::filesystem;

using bench::clearText;
using bench::mappingText;

// The service with one USB keyboard in memory, served on its own thread for the whole run.
class Service {
  public:
    Service() : bus_(folder_.root()) {
        devices_.keyboards = {testing::hidKeyboard(0x27e, 5)};
        polkitThread_.emplace(bus_.address(), [this](sd_bus* bus) { polkit_.serve(bus); });
        serviceThread_.emplace(bus_.address(), [this](sd_bus* bus) {
            service_.emplace(bus, folder_.root() / "run", devices_);
            service_->attach();
            sd_bus_request_name(bus, keymapbus::name, 0);
        });
        sd_bus_new(&client_);
        sd_bus_set_address(client_, bus_.address().c_str());
        sd_bus_set_bus_client(client_, 1);
        sd_bus_start(client_);
    }
    ~Service() {
        sd_bus_flush_close_unref(client_);
        serviceThread_.reset();
        service_.reset();
        polkitThread_.reset();
    }

    bool call(const std::string& text) {
        sd_bus_message* reply = nullptr;
        const int result =
            sd_bus_call_method(client_, keymapbus::name, keymapbus::path, keymapbus::interface,
                               keymapbus::setMapping, nullptr, &reply, "ss", text.c_str(), "");
        int status = -1;
        if (result >= 0)
            sd_bus_message_read(reply, "i", &status);
        sd_bus_message_unref(reply);
        return status == hidutil::exitSuccess;
    }

    // hidutil, started as the application starts it, handing its command to the service.
    bool hidutil(const std::string& text) {
        std::string program = HIDUTIL_PATH, property = "property", set = "--set", value = text;
        char* argv[] = {program.data(), property.data(), set.data(), value.data(), nullptr};
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_.address().c_str(), 1);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        pid_t child = -1;
        int status = -1;
        if (posix_spawn(&child, HIDUTIL_PATH, &actions, nullptr, argv, environ) == 0)
            ::waitpid(child, &status, 0);
        posix_spawn_file_actions_destroy(&actions);
        return WIFEXITED(status) && WEXITSTATUS(status) == hidutil::exitSuccess;
    }

    const fs::path& folder() const { return folder_.root(); }
    hidutil::DeviceSource& devices() { return devices_; }

  private:
    testing::TemporaryHome folder_;
    testing::PrivateSystemBus bus_;
    testing::FakePolkit polkit_;
    testing::MemoryDeviceSource devices_;
    std::optional<testing::BusThread> polkitThread_, serviceThread_;
    std::optional<keymapd::KeymapService> service_;
    sd_bus* client_ = nullptr;
};

Service& service() {
    static Service running;
    return running;
}

// The install alone, in this process, as hidutil runs it in-process.
void BM_InProcess(benchmark::State& state) {
    testing::MemoryDeviceSource devices;
    devices.keyboards = {testing::hidKeyboard(0x27e, 5)};
    const fs::path folder = service().folder() / "in-process";
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
}
BENCHMARK(BM_InProcess)->Arg(1)->Arg(100)->Unit(benchmark::kMicrosecond);

// The same install as a call to the service: the bus both ways and polkit's answer added.
void BM_ThroughService(benchmark::State& state) {
    const std::string list = mappingText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        if (!service().call(list))
            state.SkipWithError("the service did not install");
        state.PauseTiming();
        service().call(clearText);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ThroughService)->Arg(1)->Arg(100)->Unit(benchmark::kMicrosecond);

// A whole hidutil process handing the install to the service.
void BM_HidutilThroughService(benchmark::State& state) {
    const std::string list = mappingText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        if (!service().hidutil(list))
            state.SkipWithError("hidutil did not install through the service");
        state.PauseTiming();
        service().call(clearText);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_HidutilThroughService)->Arg(1)->Arg(100)->Unit(benchmark::kMicrosecond);

// What starting hidutil costs before it does anything: the floor of an in-process run.
void BM_HidutilStart(benchmark::State& state) {
    std::string program = HIDUTIL_PATH, help = "--help";
    char* argv[] = {program.data(), help.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    for (auto _ : state) {
        pid_t child = -1;
        if (posix_spawn(&child, HIDUTIL_PATH, &actions, nullptr, argv, environ) == 0)
            ::waitpid(child, nullptr, 0);
    }
    posix_spawn_file_actions_destroy(&actions);
}
BENCHMARK(BM_HidutilStart)->Unit(benchmark::kMicrosecond);

// The call through the service over the same install in-process, and a hidutil process through the
// service over one that starts and installs itself.
void serviceRatios(const bench::RatioReporter::Times& timeOf) {
    const double start = timeOf("BM_HidutilStart");
    for (int entries : {1, 100}) {
        const std::string n = "/" + std::to_string(entries);
        const double here = timeOf("BM_InProcess" + n);
        if (here <= 0)
            continue;
        std::printf("%d mapping(s): the call %.2f times in-process; hidutil %.2f times\n", entries,
                    timeOf("BM_ThroughService" + n) / here,
                    timeOf("BM_HidutilThroughService" + n) / (start + here));
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    bench::RatioReporter reporter(serviceRatios);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
