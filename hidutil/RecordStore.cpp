#include "hidutil/RecordStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "common/AtomicFile.h"
#include "common/Hex.h"
#include "common/Text.h"

namespace keyvane::hidutil {
namespace {

constexpr const char* folderName = "keyvane";
// Records of the first format, without "skipped" lines, may be left from earlier in the same boot
// by an older hidutil; they are read the same way.
constexpr const char* magicLine = "keyvane-keymap-record 2";
constexpr const char* firstFormatMagicLine = "keyvane-keymap-record 1";
constexpr const char* originalWord = "original";
constexpr const char* mappingWord = "mapping";
constexpr const char* skippedWord = "skipped";
constexpr std::string_view keymapPrefix = "keymap.";
constexpr std::string_view mappingsPrefix = "mappings.";
constexpr std::string_view temporaryMark = ".new";
constexpr const char* lockFile = "hidutil.lock";

std::error_code lastError() {
    return {errno, std::generic_category()};
}

class RecordCategory : public std::error_category {
  public:
    const char* name() const noexcept override { return "keymap record"; }
    std::string message(int) const override { return "not a record of original keys"; }
};

std::error_code damaged() {
    static const RecordCategory category;
    return {1, category};
}

std::optional<std::uint64_t> readHex(std::string_view word) {
    if (!word.starts_with("0x"))
        return std::nullopt;
    return parseHex(word.substr(2));
}

void appendLine(std::string& out, std::string_view word, std::uint64_t first) {
    out += word;
    out += ' ';
    out += hexNumber(first);
    out += '\n';
}

void appendLine(std::string& out, std::string_view word, std::uint64_t first,
                std::uint64_t second) {
    out += word;
    out += ' ';
    out += hexNumber(first);
    out += ' ';
    out += hexNumber(second);
    out += '\n';
}

std::string composeRecord(const DeviceRecord& record) {
    std::string out = magicLine;
    out += '\n';
    for (const auto& [scancode, keycode] : record.originals)
        appendLine(out, originalWord, scancode, keycode);
    for (const Mapping& mapping : record.mappings)
        appendLine(out, mappingWord, mapping.src, mapping.dst);
    for (unsigned usage : record.skipped)
        appendLine(out, skippedWord, usage);
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

// A record or mapping list read back; anything unexpected makes the whole file unusable.
std::optional<DeviceRecord> parseRecord(std::string_view content) {
    // The last line ends with a newline, which starts no further line.
    if (content.ends_with('\n'))
        content.remove_suffix(1);
    const std::vector<std::string> lines = splitKeepingEmpty(content, '\n');
    if (lines.front() != magicLine && lines.front() != firstFormatMagicLine)
        return std::nullopt;
    DeviceRecord record;
    std::string_view word;
    std::vector<std::uint64_t> numbers;
    for (std::size_t i = 1; i < lines.size(); ++i) {
        if (!parseLine(lines[i], word, numbers))
            return std::nullopt;
        const auto fits = [&](std::size_t count) {
            return numbers.size() == count &&
                   std::all_of(numbers.begin(), numbers.end(),
                               [](std::uint64_t n) { return n <= UINT32_MAX; });
        };
        if (word == originalWord && fits(2))
            record.originals[static_cast<std::uint32_t>(numbers[0])] =
                static_cast<std::uint32_t>(numbers[1]);
        else if (word == mappingWord && numbers.size() == 2)
            record.mappings.push_back({numbers[0], numbers[1]});
        else if (word == skippedWord && fits(1))
            record.skipped.insert(static_cast<unsigned>(numbers[0]));
        else
            return std::nullopt;
    }
    return record;
}

// The whole file; nothing in content when it does not exist.
std::error_code readFile(const std::filesystem::path& file, std::optional<std::string>& content) {
    content.reset();
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return errno == ENOENT ? std::error_code() : lastError();
    std::string bytes;
    char buffer[4096];
    ssize_t n;
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0 || (n < 0 && errno == EINTR))
        bytes.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    const std::error_code error = n < 0 ? lastError() : std::error_code();
    ::close(fd);
    if (!error)
        content = std::move(bytes);
    return error;
}

std::optional<std::filesystem::path> absoluteFolder(const char* variable, const char* below) {
    const char* value = std::getenv(variable);
    // A relative path in an XDG variable is invalid and to be ignored.
    if (!value || value[0] != '/')
        return std::nullopt;
    return std::filesystem::path(value) / below;
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder, error);
    if (error)
        return;
    // Others must not read which keys were changed, nor plant records.
    ::chmod(folder.c_str(), 0700);
    fd_ = ::open((folder / lockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd_ < 0) {
        error = lastError();
        return;
    }
    while (::flock(fd_, LOCK_EX) != 0) {
        if (errno != EINTR) {
            error = lastError();
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
    if (auto state = absoluteFolder("XDG_STATE_HOME", folderName))
        return state;
    if (auto home = absoluteFolder("HOME", ".local/state"))
        return *home / folderName;
    return std::nullopt;
}

std::filesystem::path RecordStore::fileOf(const std::string& instance) const {
    return folder_ / (std::string(keymapPrefix) + bootId_ + '.' + instance);
}

std::error_code RecordStore::load(const std::string& instance,
                                  std::optional<DeviceRecord>& record) const {
    record.reset();
    std::optional<std::string> content;
    if (auto error = readFile(fileOf(instance), content); error || !content)
        return error;
    record = parseRecord(*content);
    return record ? std::error_code() : damaged();
}

std::error_code RecordStore::save(const std::string& instance, const DeviceRecord& record,
                                  bool durable) const {
    const auto file = fileOf(instance);
    if (record.originals.empty() && record.mappings.empty()) {
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
            const std::string instance =
                rest.size() > bootId_.size() ? rest.substr(bootId_.size() + 1) : "";
            stale = stale || !thisBoot ||
                    (prefix == keymapPrefix && present && !present->contains(instance));
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
    if (!record || !record->originals.empty())
        return std::nullopt;
    return record->mappings;
}

std::error_code RecordStore::saveAllKeyboards(const std::vector<Mapping>& mappings) const {
    return replaceFileAtomically(folder_ / (std::string(mappingsPrefix) + bootId_),
                                 composeRecord({{}, mappings, {}}), Sync::None);
}

}  // namespace keyvane::hidutil
