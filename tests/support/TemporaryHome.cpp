#include "tests/support/TemporaryHome.h"

#include <stdlib.h>

#include <stdexcept>
#include <string>

namespace keyvane::testing {

TemporaryHome::TemporaryHome() {
    std::string pattern = (std::filesystem::temp_directory_path() / "keyvane-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("mkdtemp failed");
    root_ = pattern;
    for (const auto& folder : {home(), configHome(), stateHome(), runtimeDir()}) {
        std::filesystem::create_directory(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
    }
    ::setenv("HOME", home().c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", configHome().c_str(), 1);
    ::setenv("XDG_STATE_HOME", stateHome().c_str(), 1);
    ::setenv("XDG_RUNTIME_DIR", runtimeDir().c_str(), 1);
}

TemporaryHome::~TemporaryHome() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

}  // namespace keyvane::testing
