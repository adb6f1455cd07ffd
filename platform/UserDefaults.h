#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/DefaultsValue.h"

namespace keyvane {

using StringDictionary = std::map<std::string, std::string>;

// The user's settings: one JSON object in a file. Every write replaces the whole file atomically,
// so a crash leaves either the old or the new file. A file that was read but cannot be parsed reads
// as empty and is moved aside at once, never overwritten; while it cannot be moved, nothing is
// written. A file that cannot be read at all (no permission, a folder in its place, a disk error)
// may hold good settings: it reads as empty and stays where it is, and nothing is written while it
// is there.
class UserDefaults {
  public:
    // What went wrong with the file, for whoever tells the user.
    struct Problem {
        enum class Kind {
            Corrupt,     // read as empty; `keptAs` names where the file was moved, if it could be
            Unreadable,  // read as empty; the file is left as it is and never written over
            NotSaved,    // a write of `key` failed; once per key until a write succeeds
        };
        Kind kind;
        std::filesystem::path file;
        std::filesystem::path keptAs;
        std::string reason;
        std::string key = {};
    };
    // Why a write is refused after the file could not be read.
    static constexpr const char* unreadableNotSavedReason =
        "it could not be read, so Keyvane does not write over it";
    // Receives every problem of every UserDefaults (also written to standard error); main thread.
    static void setProblemHandler(std::function<void(const Problem&)> handler);

    explicit UserDefaults(std::filesystem::path file);

    // The defaults of this user: $XDG_CONFIG_HOME/keyvane/defaults.json (~/.config without it).
    // The location follows the environment, so a changed XDG_CONFIG_HOME takes effect at once.
    static UserDefaults& standard();
    static std::filesystem::path standardPath();

    // The stored value, or nullptr; valid until the next write or change of the file.
    const DefaultsValue* objectForKey(const std::string& key);
    // Absent or not a string: nothing.
    std::optional<std::string> stringForKey(const std::string& key);
    // Absent or not a Boolean or number: false; a number is true when non-zero.
    bool boolForKey(const std::string& key);
    // Absent or not a number: 0; a real number is truncated.
    std::int64_t integerForKey(const std::string& key);

    void setObject(const std::string& key, DefaultsValue value);
    void setStringDictionaryArray(const std::string& key,
                                  const std::vector<StringDictionary>& array);
    void setString(const std::string& key, const std::string& value);
    void setBool(const std::string& key, bool value);
    void setInteger(const std::string& key, std::int64_t value);

  private:
    struct FileStamp {
        bool exists = false;
        int error = 0;  // it may exist, but cannot be looked at
        std::int64_t size = 0;
        std::int64_t modifiedNs = 0;
        std::uint64_t inode = 0;
        bool operator==(const FileStamp&) const = default;
    };

    const DefaultsDictionary& contents();
    FileStamp stampOfFile() const;
    void moveCorruptFileAside(const std::string& reason);
    void leaveUnreadableFile(const std::string& reason);
    void reportNotSaved(const std::string& key, const std::string& reason);

    std::filesystem::path file_;
    DefaultsDictionary contents_;
    std::optional<FileStamp> loadedStamp_;
    bool corrupt_ = false;
    bool unreadable_ = false;
    bool everySaveTold_ = false;
    std::set<std::string> unsavedKeys_;
};

}  // namespace keyvane
