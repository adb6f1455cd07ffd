#pragma once

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace keyvane::testing {

// A dbus-daemon of its own, configured as a system bus but open to every caller (as the keymap
// service's D-Bus policy makes the real one for its methods), for the object's life. Programs
// started afterwards reach it as their system bus (DBUS_SYSTEM_BUS_ADDRESS).
class PrivateSystemBus {
  public:
    explicit PrivateSystemBus(const std::filesystem::path& folder);
    ~PrivateSystemBus();
    PrivateSystemBus(const PrivateSystemBus&) = delete;
    PrivateSystemBus& operator=(const PrivateSystemBus&) = delete;

    const std::string& address() const { return address_; }

  private:
    pid_t daemon_ = -1;
    std::string address_;
};

// One connection to a bus, served on a thread of its own until destroyed. `serving` is held while
// it handles messages, so that another thread reads what a handler changed only between messages.
class BusThread {
  public:
    BusThread(const std::string& address, const std::function<void(sd_bus*)>& setUp);
    ~BusThread();
    BusThread(const BusThread&) = delete;
    BusThread& operator=(const BusThread&) = delete;

    std::mutex serving;

  private:
    sd_bus* bus_ = nullptr;
    std::atomic<bool> stop_ = false;
    std::thread thread_;
};

// polkit's authority, answering every question alike and noting who it was about.
struct FakePolkit {
    std::atomic<bool> allow = true;
    std::vector<std::string> asked;  // "KIND NAME ACTION"

    // Owns polkit's name and object on bus.
    void serve(sd_bus* bus);
};

}  // namespace keyvane::testing
