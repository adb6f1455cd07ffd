#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "hidutil/Device.h"
#include "permanent/HwdbFile.h"
#include "permanent/HwdbTools.h"
#include "permanent/PermanentPlan.h"

namespace keyvane::permanent {

// Writes, replaces and removes the permanent keymap, as root. A file that does not compile to
// exactly its keys never takes effect, a file somebody else wrote is never touched, and every
// change is read back from the kernel; when any step fails the previous file and keys come back.
class PermanentKeymap {
  public:
    // Whether the user keeps the keys just made; false puts the previous ones back.
    using Answer = std::function<bool()>;

    PermanentKeymap(hidutil::DeviceSource& devices, const HwdbTools& tools,
                    std::filesystem::path file, std::ostream& out, std::ostream& err)
        : devices_(devices), tools_(tools), file_(std::move(file)), out_(out), err_(err) {}

    int make(const std::string& property, const std::optional<std::string>& matching,
             const Answer& keep);
    int remove();

  private:
    bool readFile(std::optional<HwdbFile>& file);
    std::vector<PermanentKeyboard> keyboards(std::string& problem);
    // Puts `to` in place of `from` (nothing: no file) and brings the keyboards along; false, after
    // saying why and going back to `from`, when any step fails.
    bool move(const std::optional<HwdbFile>& from, const std::optional<HwdbFile>& to);
    bool place(const std::optional<HwdbFile>& file, std::string& problem);
    bool apply(const std::optional<HwdbFile>& from, const std::optional<HwdbFile>& to,
               std::string& problem);

    hidutil::DeviceSource& devices_;
    const HwdbTools& tools_;
    std::filesystem::path file_;
    std::ostream& out_;
    std::ostream& err_;
};

}  // namespace keyvane::permanent
