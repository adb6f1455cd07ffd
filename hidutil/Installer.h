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

// Installs one list on keyboards. No key changes before every file the install needs is on disk,
// for all keyboards at once: a crash at any moment leaves records that undo everything changed, and
// once a key has changed nothing can turn the install into a failure but a key not taken. Every
// change is read back. A keyboard that lacks a key or goes away, and a key someone else changed
// since hidutil did, are notes on the error stream; a keyboard that refuses a change, or does not
// take it, fails.
class Installer {
  public:
    Installer(const RecordStore& store, std::ostream& err, ReadBack readBack)
        : store_(store), err_(err), readBack_(readBack) {}

    // The registry ids of the keyboards that took the list. For all keyboards, the list is kept for
    // "property --get" as well.
    std::vector<std::uint64_t> install(const std::vector<const Target*>& targets,
                                       const std::vector<Mapping>& mappings,
                                       const std::vector<Mapping>& usable, bool allKeyboards);
    bool failed() const { return failed_; }

  private:
    enum class Outcome { Pending, Done, Gone, Failed };
    struct Work {
        const Target* target;
        InstallPlan plan;
        Outcome outcome = Outcome::Pending;
    };

    void noteChangedSince(const Work& work);
    void writeBeforeChanges(std::vector<Work>& work, const std::vector<Mapping>& mappings,
                            bool allKeyboards);
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
