#pragma once

#include <filesystem>

namespace keyvane::testing {

// A fresh HOME, XDG_CONFIG_HOME, XDG_STATE_HOME and XDG_RUNTIME_DIR for the life of the object,
// removed afterwards.
class TemporaryHome {
  public:
    TemporaryHome();
    ~TemporaryHome();
    TemporaryHome(const TemporaryHome&) = delete;
    TemporaryHome& operator=(const TemporaryHome&) = delete;

    const std::filesystem::path& root() const { return root_; }
    std::filesystem::path home() const { return root_ / "home"; }
    std::filesystem::path configHome() const { return root_ / "config"; }
    std::filesystem::path stateHome() const { return root_ / "state"; }
    std::filesystem::path runtimeDir() const { return root_ / "runtime"; }

  private:
    std::filesystem::path root_;
};

}  // namespace keyvane::testing
