#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <system_error>
#include <vector>

#include "hidutil/Device.h"
#include "hidutil/Property.h"

namespace keyvane::hidutil {

// What hidutil changed on one device: the original key code of every scancode it changed, and the
// list it installed last.
struct DeviceRecord {
    std::map<std::uint32_t, std::uint32_t> originals;
    std::vector<Mapping> mappings;
    bool operator==(const DeviceRecord&) const = default;
};

// The records, one file per device under a folder of the user's runtime directory: it lives as
// long as the login session, like the keymaps the kernel keeps until a device goes away. Every
// write replaces a file whole, so a crash leaves the previous record or the next, never half.
class RecordStore {
  public:
    explicit RecordStore(std::filesystem::path folder) : folder_(std::move(folder)) {}

    // $XDG_RUNTIME_DIR/keyvane-hidutil, or nothing when XDG_RUNTIME_DIR is not set.
    static std::optional<std::filesystem::path> defaultFolder();

    const std::filesystem::path& folder() const { return folder_; }

    // Held while one run reads and changes keymaps and records; released when destroyed.
    class Lock {
      public:
        Lock(int fd, std::error_code error) : error(error), fd_(fd) {}
        ~Lock();
        Lock(Lock&& other) noexcept : error(other.error), fd_(other.fd_) { other.fd_ = -1; }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        Lock& operator=(Lock&&) = delete;
        explicit operator bool() const { return fd_ >= 0; }

        std::error_code error;  // why the lock could not be taken

      private:
        int fd_;
    };
    Lock lock() const;

    std::optional<DeviceRecord> load(const DeviceInfo& device) const;
    // An empty record removes the file.
    std::error_code save(const DeviceInfo& device, const DeviceRecord& record) const;

    // The list last installed on all keyboards, for "property --get".
    std::optional<std::vector<Mapping>> loadAllKeyboards() const;
    std::error_code saveAllKeyboards(const std::vector<Mapping>& mappings) const;

  private:
    std::error_code writeAtomically(const std::filesystem::path& file,
                                    const std::string& content) const;
    std::filesystem::path folder_;
};

}  // namespace keyvane::hidutil
