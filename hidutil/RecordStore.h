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

// One scancode hidutil changed: the code it had just before hidutil first changed it, and the codes
// hidutil may have left on it (two while an install that replaces one code with another may be
// under way). A scancode that gives any other code now was changed by someone else since.
struct RecordedKey {
    std::uint32_t original = 0;
    std::set<std::uint32_t> set;  // empty in records of earlier formats, which did not keep it
    bool operator==(const RecordedKey&) const = default;
};

// What hidutil changed on one device, the list it installed last, and the source usages of that
// list the device has no key for (keyboard page usages), so that reading the keymap back later
// tells a key left out from one changed since.
struct DeviceRecord {
    std::map<std::uint32_t, RecordedKey> keys;
    std::vector<Mapping> mappings;
    std::set<unsigned> skipped;
    bool operator==(const DeviceRecord&) const = default;
    bool empty() const { return keys.empty() && mappings.empty(); }
};

// What RecordStore::load gives for a file that is not a whole record: cut short, changed, or never
// one.
std::error_code damagedRecord();

// Held while one run reads and changes keymaps and records; released when destroyed. Another run
// holding it is waited for a few seconds at most.
class FolderLock {
  public:
    explicit FolderLock(const std::filesystem::path& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    explicit operator bool() const { return fd_ >= 0; }

    std::error_code error;  // why the lock could not be taken
    std::string holder;     // when another process kept it: which one ("hidutil, process 42")

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

    // Nothing in record when the device has none; damagedRecord() when its file is no whole
    // record, another error when it cannot be read.
    std::error_code load(const std::string& instance, std::optional<DeviceRecord>& record) const;
    // An empty record removes the file. A durable save is on disk once syncFolder() has returned;
    // another may be lost in a crash of the machine, which takes the kernel's keymaps with it.
    std::error_code save(const std::string& instance, const DeviceRecord& record,
                         bool durable) const;
    std::error_code syncFolder() const;

    // Moves a damaged record out of the way, to "<file>.damaged-<time>", which stays as long as
    // the record would have: it tells that the device's original keys are unknown.
    std::error_code setAside(const std::string& instance, std::filesystem::path& movedTo) const;
    bool originalsUnknown(const std::string& instance) const;

    // The records of this boot, file name -> content, to hand them to the keymap service.
    std::map<std::string, std::string> recordsOfThisBoot() const;
    // Takes over a record that another store kept: a whole record of this boot, for a device this
    // store has no record of (an error names why not).
    std::error_code adopt(const std::string& name, const std::string& content) const;
    std::error_code remove(const std::string& name) const;

    // Removes the records of other boots, of devices not present (when known), and files left by
    // interrupted writes. Only under the folder's lock.
    void removeStale(const std::optional<std::set<std::string>>& present) const;

    // The list last installed on all keyboards in this boot, for "property --get"; a clear removes
    // it, so that clearing never needs room on the disk.
    std::optional<std::vector<Mapping>> loadAllKeyboards() const;
    std::error_code saveAllKeyboards(const std::vector<Mapping>& mappings) const;
    std::error_code removeAllKeyboards() const;

  private:
    std::filesystem::path folder_;
    std::string bootId_;
};

}  // namespace keyvane::hidutil
