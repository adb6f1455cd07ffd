#include "hidutil/RecordStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "common/AtomicFile.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "common/XdgDirs.h"
#include "hidutil/Messages.h"

namespace keyvane::hidutil {
namespace {

constexpr const char* folderName = "keyvane";
// A record ends with a line that counts the lines between it and the first and carries a checksum
// of everything before it, so that a record cut short or changed is never taken for a whole one.
// Records of the earlier formats (1 without "skipped" lines, 2), which an older hidutil may have
// left earlier in the same boot, had no such line and no codes set; they are read as they are.
constexpr const char* magicLine = "keyvane-keymap-record 3";
constexpr const char* earlierMagicLines[] = {"keyvane-keymap-record 1", "keyvane-keymap-record 2"};
constexpr const char* keyWord = "key";
constexpr const char* earlierOriginalWord = "original";
constexpr const char* mappingWord = "mapping";
constexpr const char* skippedWord = "skipped";
constexpr const char* endWord = "end";
constexpr std::string_view keymapPrefix = "keymap.";
constexpr std::string_view mappingsPrefix = "mappings.";
constexpr std::string_view temporaryMark = ".new";
constexpr std::string_view damagedTag = "damaged";
// Another run holds the lock for milliseconds; one that keeps it longer is stuck or stopped.
constexpr auto lockPatience = std::chrono::seconds(5);
constexpr auto lockRetry = std::chrono::milliseconds(20);
// Records are a few kilobytes; anything far larger is no record.
constexpr std::size_t recordLimit = 4u << 20;

std::error_code lastError() {
    return {errno, std::generic_category()};
}

class RecordCategory : public std::error_category {
  public:
    const char* name() const noexcept override { return "keymap record"; }
    std::string message(int) const override { return "not a whole record of original keys"; }
};

// FNV-1a: cheap, and any cut or changed byte shows.
std::uint64_t checksum(std::string_view bytes) {
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (char c : bytes) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001b3u;
    }
    return hash;
}

std::optional<std::uint64_t> readHex(std::string_view word) {
    if (!word.starts_with("0x"))
        return std::nullopt;
    return parseHex(word.substr(2));
}

void appendLine(std::string& out, std::string_view word,
                std::initializer_list<std::uint64_t> numbers) {
    out += word;
    for (std::uint64_t number : numbers) {
        out += ' ';
        out += hexNumber(number);
    }
    out += '\n';
}

std::string composeRecord(const DeviceRecord& record) {
    std::string out = magicLine;
    out += '\n';
    for (const auto& [scancode, key] : record.keys) {
        out += keyWord;
        for (std::uint64_t number : {scancode, key.original})
            out += ' ' + hexNumber(number);
        for (std::uint32_t code : key.set)
            out += ' ' + hexNumber(code);
        out += '\n';
    }
    for (const Mapping& mapping : record.mappings)
        appendLine(out, mappingWord, {mapping.src, mapping.dst});
    for (unsigned usage : record.skipped)
        appendLine(out, skippedWord, {usage});
    const std::size_t entries = record.keys.size() + record.mappings.size() + record.skipped.size();
    appendLine(out, endWord, {entries, checksum(out)});
    return out;
}

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// Takes the next blank-separated word off the front of line; false when none is left.
bool takeWord(std::string_view& line, std::string_view& word) {
    std::size_t start = 0;
    while (start < line.size() && isBlank(line[start]))
        ++start;
    std::size_t end = start;
    while (end < line.size() && !isBlank(line[end]))
        ++end;
    word = line.substr(start, end - start);
    line.remove_prefix(end);
    return !word.empty();
}

// One line of a record: its word and the numbers after it; nothing when a number is no number.
bool parseLine(std::string_view line, std::string_view& word, std::vector<std::uint64_t>& numbers) {
    numbers.clear();
    word = {};
    takeWord(line, word);
    for (std::string_view number; takeWord(line, number);) {
        const auto value = readHex(number);
        if (!value)
            return false;
        numbers.push_back(*value);
    }
    return true;
}

bool fitIn32Bits(const std::vector<std::uint64_t>& numbers) {
    return std::all_of(numbers.begin(), numbers.end(),
                       [](std::uint64_t n) { return n <= UINT32_MAX; });
}

// The lines between the first and the end line, once the end line has vouched for them.
std::optional<std::vector<std::string>> wholeBody(std::string_view content) {
    if (!content.ends_with('\n'))
        return std::nullopt;
    content.remove_suffix(1);
    const std::size_t endLine = content.rfind('\n');
    if (endLine == std::string_view::npos)
        return std::nullopt;
    std::string_view word;
    std::vector<std::uint64_t> numbers;
    if (!parseLine(content.substr(endLine + 1), word, numbers) || word != endWord ||
        numbers.size() != 2 || numbers[1] != checksum(content.substr(0, endLine + 1)))
        return std::nullopt;
    std::vector<std::string> lines = splitKeepingEmpty(content.substr(0, endLine), '\n');
    if (lines.size() - 1 != numbers[0])
        return std::nullopt;
    lines.erase(lines.begin());
    return lines;
}

// A record or mapping list read back; anything unexpected makes the whole file unusable.
std::optional<DeviceRecord> parseRecord(std::string_view content) {
    const std::string_view first = content.substr(0, content.find('\n'));
    const bool earlier = std::find(std::begin(earlierMagicLines), std::end(earlierMagicLines),
                                   first) != std::end(earlierMagicLines);
    if (first != magicLine && !earlier)
        return std::nullopt;
    std::vector<std::string> lines;
    if (earlier) {
        lines =
            splitKeepingEmpty(content.substr(0, content.size() - content.ends_with('\n')), '\n');
        lines.erase(lines.begin());
    } else if (auto body = wholeBody(content)) {
        lines = std::move(*body);
    } else {
        return std::nullopt;
    }
    DeviceRecord record;
    std::string_view word;
    std::vector<std::uint64_t> numbers;
    for (const std::string& line : lines) {
        if (!parseLine(line, word, numbers))
            return std::nullopt;
        const auto fits = [&](std::size_t count) {
            return numbers.size() == count && fitIn32Bits(numbers);
        };
        if (word == (earlier ? earlierOriginalWord : keyWord) &&
            (earlier ? fits(2) : numbers.size() >= 3 && fitIn32Bits(numbers))) {
            RecordedKey& key = record.keys[static_cast<std::uint32_t>(numbers[0])];
            key.original = static_cast<std::uint32_t>(numbers[1]);
            for (std::size_t i = 2; i < numbers.size(); ++i)
                key.set.insert(static_cast<std::uint32_t>(numbers[i]));
        } else if (word == mappingWord && numbers.size() == 2) {
            record.mappings.push_back({numbers[0], numbers[1]});
        } else if (word == skippedWord && fits(1)) {
            record.skipped.insert(static_cast<unsigned>(numbers[0]));
        } else {
            return std::nullopt;
        }
    }
    return record;
}

// The whole file; nothing in content when it does not exist. Whatever is no regular file (a
// symbolic link, a pipe that would never end) is no record either, and never waited for.
std::error_code readFile(const std::filesystem::path& file, std::optional<std::string>& content) {
    content.reset();
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (fd < 0) {
        if (errno == ENOENT)
            return {};
        return errno == ELOOP ? damagedRecord() : lastError();
    }
    struct stat status {};
    std::error_code error;
    if (::fstat(fd, &status) != 0)
        error = lastError();
    else if (!S_ISREG(status.st_mode) || static_cast<std::size_t>(status.st_size) > recordLimit)
        error = damagedRecord();
    std::string bytes;
    char buffer[4096];
    ssize_t n = 0;
    while (!error && ((n = ::read(fd, buffer, sizeof buffer)) > 0 || (n < 0 && errno == EINTR)))
        bytes.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    if (!error && n < 0)
        error = lastError();
    ::close(fd);
    if (!error)
        content = std::move(bytes);
    return error;
}

// Which process holds a lock on the open file fd, as /proc/locks lists it: "NAME, process PID".
std::string lockHolder(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0)
        return {};
    char device[64];
    std::snprintf(device, sizeof device, "%02x:%02x:%llu", major(status.st_dev),
                  minor(status.st_dev), static_cast<unsigned long long>(status.st_ino));
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        std::istringstream fields(line);
        std::string number, kind, mode, access, pid, file;
        fields >> number >> kind >> mode >> access >> pid >> file;
        if (file != device || kind != "FLOCK")
            continue;
        std::ifstream comm("/proc/" + pid + "/comm");
        std::string name;
        std::getline(comm, name);
        return (name.empty() ? "a process" : name) + ", process " + pid;
    }
    return {};
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder, error);
    if (error)
        return;
    // Others must not read which keys were changed, nor plant records.
    ::chmod(folder.c_str(), 0700);
    fd_ = ::open((folder / text::lockFile).c_str(),
                 O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    if (fd_ < 0) {
        error = lastError();
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + lockPatience;
    while (::flock(fd_, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(lockRetry);
            continue;
        }
        if (errno != EINTR) {
            error = lastError();
            if (error == std::errc::operation_would_block)
                holder = lockHolder(fd_);
            ::close(fd_);
            fd_ = -1;
            return;
        }
    }
}

FolderLock::~FolderLock() {
    if (fd_ >= 0)
        ::close(fd_);
}

std::optional<std::filesystem::path> RecordStore::defaultFolder() {
    if (auto state = xdgFolder("XDG_STATE_HOME", ".local/state"))
        return *state / folderName;
    return std::nullopt;
}

std::filesystem::path RecordStore::fileOf(const std::string& instance) const {
    return folder_ / (std::string(keymapPrefix) + bootId_ + '.' + instance);
}

std::error_code damagedRecord() {
    static const RecordCategory category;
    return {1, category};
}

std::error_code RecordStore::load(const std::string& instance,
                                  std::optional<DeviceRecord>& record) const {
    record.reset();
    std::optional<std::string> content;
    if (auto error = readFile(fileOf(instance), content); error || !content)
        return error;
    record = parseRecord(*content);
    return record ? std::error_code() : damagedRecord();
}

std::error_code RecordStore::save(const std::string& instance, const DeviceRecord& record,
                                  bool durable) const {
    const auto file = fileOf(instance);
    if (record.empty()) {
        if (::unlink(file.c_str()) != 0 && errno != ENOENT)
            return lastError();
        return {};
    }
    return replaceFileAtomically(file, composeRecord(record),
                                 durable ? Sync::FileOnly : Sync::None);
}

std::error_code RecordStore::syncFolder() const {
    return keyvane::syncFolder(folder_);
}

std::error_code RecordStore::setAside(const std::string& instance,
                                      std::filesystem::path& movedTo) const {
    return moveAside(fileOf(instance), damagedTag, movedTo);
}

bool RecordStore::originalsUnknown(const std::string& instance) const {
    const std::string prefix = fileOf(instance).filename().string() + "." + std::string(damagedTag);
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder_, error))
        if (entry.path().filename().string().starts_with(prefix))
            return true;
    return false;
}

std::map<std::string, std::string> RecordStore::recordsOfThisBoot() const {
    std::map<std::string, std::string> records;
    const std::string prefix = std::string(keymapPrefix) + bootId_ + '.';
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder_, error)) {
        const std::string name = entry.path().filename().string();
        std::optional<std::string> content;
        if (name.starts_with(prefix) && name.find('.', prefix.size()) == std::string::npos &&
            !readFile(entry.path(), content) && content)
            records.emplace(name, std::move(*content));
    }
    return records;
}

std::error_code RecordStore::adopt(const std::string& name, const std::string& content) const {
    const std::string prefix = std::string(keymapPrefix) + bootId_ + '.';
    const std::string instance = name.starts_with(prefix) ? name.substr(prefix.size()) : "";
    if (instance.size() <= 5 || !instance.starts_with("input") ||
        instance.find_first_not_of("0123456789", 5) != std::string::npos)
        return std::make_error_code(std::errc::invalid_argument);
    if (content.size() > recordLimit || !parseRecord(content))
        return damagedRecord();
    std::error_code error;
    if (std::filesystem::exists(fileOf(instance), error))
        return std::make_error_code(std::errc::file_exists);
    return replaceFileAtomically(fileOf(instance), content, Sync::FileAndFolder);
}

std::error_code RecordStore::remove(const std::string& name) const {
    if (name.find('/') != std::string::npos)
        return std::make_error_code(std::errc::invalid_argument);
    return ::unlink((folder_ / name).c_str()) == 0 ? std::error_code() : lastError();
}

void RecordStore::removeStale(const std::optional<std::set<std::string>>& present) const {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder_, error)) {
        const std::string name = entry.path().filename().string();
        bool stale = name.find(temporaryMark) != std::string::npos;
        for (std::string_view prefix : {keymapPrefix, mappingsPrefix}) {
            if (name.rfind(prefix, 0) != 0)
                continue;
            // keymap.BOOT.INSTANCE or mappings.BOOT
            const std::string rest = name.substr(prefix.size());
            const bool thisBoot = rest.rfind(bootId_, 0) == 0 &&
                                  (rest.size() == bootId_.size() || rest[bootId_.size()] == '.');
            // A record set aside as damaged goes with the record it was.
            const std::string instance =
                rest.size() > bootId_.size() ? rest.substr(bootId_.size() + 1) : "";
            const std::string device = instance.substr(0, instance.find('.'));
            stale = stale || !thisBoot ||
                    (prefix == keymapPrefix && present && !present->contains(device));
        }
        if (stale)
            ::unlink(entry.path().c_str());
    }
}

std::optional<std::vector<Mapping>> RecordStore::loadAllKeyboards() const {
    std::optional<std::string> content;
    if (readFile(folder_ / (std::string(mappingsPrefix) + bootId_), content) || !content)
        return std::nullopt;
    auto record = parseRecord(*content);
    if (!record || !record->keys.empty())
        return std::nullopt;
    return record->mappings;
}

std::error_code RecordStore::saveAllKeyboards(const std::vector<Mapping>& mappings) const {
    return replaceFileAtomically(folder_ / (std::string(mappingsPrefix) + bootId_),
                                 composeRecord({{}, mappings, {}}), Sync::None);
}

std::error_code RecordStore::removeAllKeyboards() const {
    if (::unlink((folder_ / (std::string(mappingsPrefix) + bootId_)).c_str()) != 0 &&
        errno != ENOENT)
        return lastError();
    return {};
}

}  // namespace keyvane::hidutil
