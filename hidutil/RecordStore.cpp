#include "hidutil/RecordStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace keyvane::hidutil {
namespace {

constexpr const char* folderName = "keyvane-hidutil";
constexpr const char* magicLine = "keyvane-hidutil-record 1";
constexpr const char* identityWord = "identity";
constexpr const char* originalWord = "original";
constexpr const char* mappingWord = "mapping";
constexpr const char* allKeyboardsFile = "all-keyboards";
constexpr const char* temporarySuffix = ".new";
constexpr const char* lockFile = "lock";

std::optional<std::uint64_t> readHex(const std::string& word) {
    if (word.size() < 3 || word.size() > 18 || word.compare(0, 2, "0x") != 0)
        return std::nullopt;
    std::uint64_t value = 0;
    for (std::size_t i = 2; i < word.size(); ++i) {
        const char c = word[i];
        const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        if (digit < 0)
            return std::nullopt;
        value = value << 4 | static_cast<unsigned>(digit);
    }
    return value;
}

std::string writeHex(std::uint64_t value) {
    std::ostringstream out;
    out << "0x" << std::hex << value;
    return out.str();
}

void writeMappings(std::ostringstream& out, const std::vector<Mapping>& mappings) {
    for (const Mapping& mapping : mappings)
        out << mappingWord << ' ' << writeHex(mapping.src) << ' ' << writeHex(mapping.dst) << '\n';
}

// A record or mapping list read back; anything unexpected makes the whole file count as absent.
std::optional<DeviceRecord> parseRecord(std::istream& in, const std::string* identity) {
    std::string line;
    if (!std::getline(in, line) || line != magicLine)
        return std::nullopt;
    DeviceRecord record;
    bool identified = identity == nullptr;
    while (std::getline(in, line)) {
        std::istringstream words(line);
        std::string word, first, second, rest;
        words >> word;
        if (word == identityWord && identity) {
            identified = line == std::string(identityWord) + ' ' + *identity;
            continue;
        }
        if (!(words >> first >> second) || (words >> rest))
            return std::nullopt;
        const auto a = readHex(first), b = readHex(second);
        if (!a || !b)
            return std::nullopt;
        if (word == originalWord && *a <= UINT32_MAX && *b <= UINT32_MAX)
            record.originals[static_cast<std::uint32_t>(*a)] = static_cast<std::uint32_t>(*b);
        else if (word == mappingWord)
            record.mappings.push_back({*a, *b});
        else
            return std::nullopt;
    }
    if (!identified)
        return std::nullopt;
    return record;
}

}  // namespace

std::optional<std::filesystem::path> RecordStore::defaultFolder() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (!runtime || !*runtime)
        return std::nullopt;
    return std::filesystem::path(runtime) / folderName;
}

RecordStore::Lock::~Lock() {
    if (fd_ >= 0)
        ::close(fd_);
}

RecordStore::Lock RecordStore::lock() const {
    const auto fail = [] { return Lock(-1, std::error_code(errno, std::generic_category())); };
    if (::mkdir(folder_.c_str(), 0700) != 0 && errno != EEXIST)
        return fail();
    const int fd = ::open((folder_ / lockFile).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return fail();
    while (::flock(fd, LOCK_EX) != 0) {
        if (errno != EINTR) {
            auto failed = fail();
            ::close(fd);
            return failed;
        }
    }
    return Lock(fd, {});
}

std::optional<DeviceRecord> RecordStore::load(const DeviceInfo& device) const {
    std::ifstream in(folder_ / device.stateName);
    if (!in)
        return std::nullopt;
    return parseRecord(in, &device.identity);
}

std::error_code RecordStore::save(const DeviceInfo& device, const DeviceRecord& record) const {
    const auto file = folder_ / device.stateName;
    if (record.originals.empty() && record.mappings.empty()) {
        std::error_code error;
        std::filesystem::remove(file, error);
        return error;
    }
    std::ostringstream out;
    out << magicLine << '\n' << identityWord << ' ' << device.identity << '\n';
    for (const auto& [scancode, keycode] : record.originals)
        out << originalWord << ' ' << writeHex(scancode) << ' ' << writeHex(keycode) << '\n';
    writeMappings(out, record.mappings);
    return writeAtomically(file, out.str());
}

std::optional<std::vector<Mapping>> RecordStore::loadAllKeyboards() const {
    std::ifstream in(folder_ / allKeyboardsFile);
    if (!in)
        return std::nullopt;
    auto record = parseRecord(in, nullptr);
    if (!record || !record->originals.empty())
        return std::nullopt;
    return record->mappings;
}

std::error_code RecordStore::saveAllKeyboards(const std::vector<Mapping>& mappings) const {
    std::ostringstream out;
    out << magicLine << '\n';
    writeMappings(out, mappings);
    return writeAtomically(folder_ / allKeyboardsFile, out.str());
}

std::error_code RecordStore::writeAtomically(const std::filesystem::path& file,
                                             const std::string& content) const {
    const auto fail = [] { return std::error_code(errno, std::generic_category()); };
    if (::mkdir(folder_.c_str(), 0700) != 0 && errno != EEXIST)
        return fail();
    const std::string temporary =
        file.string() + temporarySuffix + std::to_string(static_cast<long>(::getpid()));
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return fail();
    std::size_t done = 0;
    while (done < content.size()) {
        const ssize_t n = ::write(fd, content.data() + done, content.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            const auto error = fail();
            ::close(fd);
            ::unlink(temporary.c_str());
            return error;
        }
        done += static_cast<std::size_t>(n);
    }
    // The record must be on disk before the keys it describes change.
    std::error_code error;
    if (::fsync(fd) != 0)
        error = fail();
    if (::close(fd) != 0 && !error)
        error = fail();
    if (error) {
        ::unlink(temporary.c_str());
        return error;
    }
    if (::rename(temporary.c_str(), file.c_str()) != 0)
        return fail();
    return {};
}

}  // namespace keyvane::hidutil
