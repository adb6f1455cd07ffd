#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "hidutil/Property.h"

namespace keyvane::hidutil {

// What hidutil changed on one device: the code every scancode it changed had just before it first
// changed it, the list it installed last, and the source usages of that list the device has no key
// for (keyboard page usages), so that reading the keymap back later tells a key left out from one
// changed since.
struct DeviceRecord {
    std::map<std::uint32_t, std::uint32_t> originals;
    std::vector<Mapping> mappings;
    std::set<unsigned> skipped;
    bool operator==(const DeviceRecord&) const = default;
};

// Held while one run reads and changes keymaps and records; released when destroyed.
class FolderLock {
  public:
    explicit FolderLock(const std::filesystem::path& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    explicit operator bool() const { return fd_ >= 0; }

    std::error_code error;  // why the lock could not be taken

  private:
    int fd_ = -1;
};

// The records, one file per device instance and boot in a folder of the user's persistent state.
// The kernel keeps a keymap until its device goes away or the machine restarts, across logouts, so
// a record lives exactly as long: a file of another boot, or of a device no longer present, is
// stale and removed. Every write replaces a file whole, so a crash leaves one record or the other,
// never half.
class RecordStore {
  public:
    RecordStore(std::filesystem::path folder, std::string bootId)
        : folder_(std::move(folder)), bootId_(std::move(bootId)) {}

    // $XDG_STATE_HOME/keyvane, else ~/.local/state/keyvane; nothing without either.
    static std::optional<std::filesystem::path> defaultFolder();

    const std::filesystem::path& folder() const { return folder_; }
    std::filesystem::path fileOf(const std::string& instance) const;

    // Nothing in record when the device has none; an error when its file cannot be used.
    std::error_code load(const std::string& instance, std::optional<DeviceRecord>& record) const;
    // An empty record removes the file. A durable save is on disk once syncFolder() has returned;
    // another may be lost in a crash of the machine, which takes the kernel's keymaps with it.
    std::error_code save(const std::string& instance, const DeviceRecord& record,
                         bool durable) const;
    std::error_code syncFolder() const;

    // Removes the records of other boots, of devices not present (when known), and files left by
    // interrupted writes. Only under the folder's lock.
    void removeStale(const std::optional<std::set<std::string>>& present) const;

    // The list last installed on all keyboards in this boot, for "property --get".
    std::optional<std::vector<Mapping>> loadAllKeyboards() const;
    std::error_code saveAllKeyboards(const std::vector<Mapping>& mappings) const;

  private:
    std::filesystem::path folder_;
    std::string bootId_;
};

}  // namespace keyvane::hidutil
