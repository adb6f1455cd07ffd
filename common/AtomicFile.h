#pragma once

#include <filesystem>
#include <string_view>
#include <system_error>

namespace keyvane {

// How much of a replacement must be on disk before replaceFileAtomically returns.
enum class Sync {
    FileAndFolder,  // the new contents and the rename: survives a power cut
    FileOnly,       // the new contents; the caller syncs the folder once for several files
    None,           // whatever the kernel writes back by itself: for files that are cheap to lose
};

// Replaces `file` with `contents` so that a crash at any moment leaves either the old file or the
// new one: the bytes go to a temporary file "<file>.new-XXXXXX" in the same folder (readable by
// the owner only) and are renamed over the old file. Creates missing parent folders. On failure
// the old file stays as it was.
std::error_code replaceFileAtomically(const std::filesystem::path& file, std::string_view contents,
                                      Sync sync = Sync::FileAndFolder);

// Whether a file name is that of such a temporary file ("<file>.new-" and six letters or digits),
// which only a write cut short by a crash leaves behind.
bool isTemporaryFileName(std::string_view name);

// Renames `file` to "<file>.<tag>-<UTC time>" (with "-N" added while that name is taken) and
// gives the new path; never replaces another file.
std::error_code moveAside(const std::filesystem::path& file, std::string_view tag,
                          std::filesystem::path& movedTo);

// Makes renames in `folder` durable.
std::error_code syncFolder(const std::filesystem::path& folder);

}  // namespace keyvane
