#pragma once

#include <QtGlobal>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/MappingStore.h"

namespace keyvane {

// The list of mappings and the target keyboard as a file of their own, to keep or to carry to
// another machine: one JSON object
//   {"format": "keyvane-mappings", "version": 1, "keyboardId": "0x9999",
//    "mappings": [{"original": "Caps Lock", "originalId": "39",
//                  "remapped": "Escape", "remappedId": "29"}, ...]}
// Reading checks every mapping against the key table; a file that cannot be used as a whole is
// refused with the reason, and nothing in the store changes unless the caller adopts what was read.
class MappingFile {
  public:
    static constexpr const char* formatKey = "format";
    static constexpr const char* formatName = "keyvane-mappings";
    static constexpr const char* versionKey = "version";
    static constexpr std::int64_t version = 1;
    static constexpr const char* keyboardIdKey = "keyboardId";
    static constexpr const char* mappingsKey = "mappings";
    // Far more than any list of mappings needs; larger files are not read at all.
    static constexpr std::uintmax_t maximumSize = 1024 * 1024;

    struct Reading {
        std::string problem;                    // not empty: the file cannot be used
        std::vector<KeyMapping> mappings;       // the usable mappings, in file order
        std::optional<std::string> keyboardId;  // absent: the file chooses no keyboard
        std::vector<std::string> rejected;      // one line per mapping left out, with the reason
    };
    enum class Adoption { Replace, Append };

    static Reading read(const std::filesystem::path& file);
    static Reading parse(std::string_view text);

    // The file's text for `mappings` and `keyboardId`; only the four keys of each record go in.
    static std::string compose(const std::vector<KeyMapping>& mappings,
                               const std::string& keyboardId);
    // The list and keyboard of this process as a file. False with the reason in `error`.
    static bool write(const std::filesystem::path& file, std::string& error);

    // %1: how many mappings the list would have, %2: the most one installation can carry.
    static constexpr const char* tooManyProblem = QT_TRANSLATE_NOOP(
        "MappingFile",
        "your list would then have %1 mappings, but one installation can carry at most %2");
    // Why adopting `reading` so would make a list too long to install, or "" when it would not.
    static std::string adoptionProblem(const Reading& reading, Adoption how);

    // How many of the read mappings the list has already (the same key made the same new key).
    static std::size_t alreadyListed(const Reading& reading);

    // Replace: the read mappings become the list, and the file's keyboard (if it names one) the
    // target keyboard. Append: those the list does not have yet go after it, so that importing a
    // file twice doubles nothing; the keyboard stays. Both are stored.
    static void adopt(const Reading& reading, Adoption how);

    // The stored keyboard choice: a product id, or allKeyboardsId.
    static std::string storedKeyboardId();

  private:
    static bool isListed(const KeyMapping& mapping);
};

// "1 mapping", "1,379 mappings": a number of mappings as a message says it.
std::string mappingsCount(std::size_t count);

}  // namespace keyvane
