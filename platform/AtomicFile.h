#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace keyvane {

// Replaces `file` with `contents` so that a crash at any moment leaves either the old file or the
// new one: the bytes go to a temporary file in the same folder, are flushed to disk, and only then
// renamed over the old file. Creates missing parent folders. On failure returns false, leaves the
// old file as it was and puts the reason in `error`.
bool replaceFileAtomically(const std::filesystem::path& file, std::string_view contents,
                           std::string& error);

}  // namespace keyvane
