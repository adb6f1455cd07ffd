#include "common/AtomicFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <string>

namespace keyvane {
namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

// pwrite(), which a device such as an event node refuses: whatever mix-up of descriptors there
// were, no byte of a file goes to a device.
std::error_code writeAll(int fd, std::string_view bytes) {
    for (off_t offset = 0; !bytes.empty();) {
        const ssize_t written = ::pwrite(fd, bytes.data(), bytes.size(), offset);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return lastError();
        bytes.remove_prefix(static_cast<size_t>(written));
        offset += written;
    }
    return {};
}

// mkostemp replaces the six X with letters and digits.
constexpr std::string_view temporaryMark = ".new-";
constexpr std::string_view temporaryTail = "XXXXXX";

std::string utcTimestamp() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%dT%H%M%SZ", &parts);
    return text;
}

}  // namespace

std::error_code replaceFileAtomically(const std::filesystem::path& file, std::string_view contents,
                                      Sync sync) {
    const std::filesystem::path folder = file.parent_path().empty() ? "." : file.parent_path();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        return error;

    std::string temporary = file.string() + std::string(temporaryMark) + std::string(temporaryTail);
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        return lastError();
    error = writeAll(fd, contents);
    if (!error && sync != Sync::None && ::fsync(fd) != 0)
        error = lastError();
    if (::close(fd) != 0 && !error)
        error = lastError();
    if (!error && ::rename(temporary.c_str(), file.c_str()) != 0)
        error = lastError();
    if (error) {
        ::unlink(temporary.c_str());
        return error;
    }
    // The replacement has happened; a folder that cannot be synced does not undo it.
    if (sync == Sync::FileAndFolder)
        syncFolder(folder);
    return {};
}

bool isTemporaryFileName(std::string_view name) {
    if (name.size() <= temporaryMark.size() + temporaryTail.size())
        return false;
    const std::string_view tail = name.substr(name.size() - temporaryTail.size());
    return name.substr(name.size() - tail.size() - temporaryMark.size(), temporaryMark.size()) ==
               temporaryMark &&
           std::all_of(tail.begin(), tail.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
           });
}

std::error_code moveAside(const std::filesystem::path& file, std::string_view tag,
                          std::filesystem::path& movedTo) {
    const std::string base = file.string() + "." + std::string(tag) + "-" + utcTimestamp();
    for (int n = 0;; ++n) {
        movedTo = n == 0 ? base : base + "-" + std::to_string(n);
        if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, movedTo.c_str(), RENAME_NOREPLACE) == 0)
            return {};
        if (errno != EEXIST)
            return lastError();
    }
}

std::error_code syncFolder(const std::filesystem::path& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return lastError();
    std::error_code error;
    if (::fsync(fd) != 0)
        error = lastError();
    ::close(fd);
    return error;
}

}  // namespace keyvane
