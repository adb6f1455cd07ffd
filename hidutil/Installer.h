#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

#include "hidutil/Device.h"
#include "hidutil/Keymap.h"
#include "hidutil/RecordStore.h"

namespace keyvane::hidutil {

// A keyboard to install on, with its keymap and record as read once under the folder's lock.
struct Target {
    KeyDevice* device = nullptr;
    Keymap current;
    std::optional<DeviceRecord> record;
    std::error_code recordError;  // the record exists but cannot be used
};

enum class ReadBack { Yes, No };

// Installs one list on keyboards. No key changes before the original of every key that may change
// is on disk, for all keyboards at once, so that a crash at any moment leaves records that undo
// everything changed. Every change is read back. A keyboard that lacks a key or goes away is a
// note on the error stream; one that refuses a change, or does not take it, fails.
class Installer {
  public:
    Installer(const RecordStore& store, std::ostream& err, ReadBack readBack)
        : store_(store), err_(err), readBack_(readBack) {}

    // The registry ids of the keyboards that took the list.
    std::vector<std::uint64_t> install(const std::vector<const Target*>& targets,
                                       const std::vector<Mapping>& mappings,
                                       const std::vector<Mapping>& usable);
    bool failed() const { return failed_; }

  private:
    enum class Outcome { Pending, Done, Gone, Failed };
    struct Work {
        const Target* target;
        InstallPlan plan;
        Outcome outcome = Outcome::Pending;
    };

    void rememberOriginals(std::vector<Work>& work);
    void change(Work& work);
    void verify(Work& work, const std::vector<KeymapChange>& made);
    void keepRecord(Work& work);
    void fail(Work& work, const std::string& message);
    std::string stateError(const std::error_code& error) const;
    static std::string deviceError(const KeyDevice& device, const std::error_code& error);
    void noteGone(Work& work, const std::error_code& error);

    const RecordStore& store_;
    std::ostream& err_;
    ReadBack readBack_;
    bool failed_ = false;
};

}  // namespace keyvane::hidutil
