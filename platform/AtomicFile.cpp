#include "platform/AtomicFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace keyvane {
namespace {

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

// Makes the rename itself durable; a failure here does not undo the replacement.
void syncFolder(const std::filesystem::path& folder) {
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

bool replaceFileAtomically(const std::filesystem::path& file, std::string_view contents,
                           std::string& error) {
    const std::filesystem::path folder = file.parent_path().empty() ? "." : file.parent_path();
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) {
        error = "cannot create " + folder.string() + ": " + ec.message();
        return false;
    }

    std::string temporary = (folder / (file.filename().string() + ".XXXXXX")).string();
    int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        error = "cannot create a file in " + folder.string() + ": " + std::strerror(errno);
        return false;
    }
    bool ok = writeAll(fd, contents) && ::fsync(fd) == 0;
    int failure = errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        failure = errno;
    }
    if (ok && ::rename(temporary.c_str(), file.c_str()) != 0) {
        ok = false;
        failure = errno;
    }
    if (ok) {
        syncFolder(folder);
        return true;
    }
    error = "cannot write " + file.string() + ": " + std::strerror(failure);
    ::unlink(temporary.c_str());
    return false;
}

}  // namespace keyvane
