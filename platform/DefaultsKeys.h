#pragma once

namespace keyvane::defaults_keys {

// The keys of the settings file (the user defaults), shared by everything that reads or writes it.
inline constexpr const char* keyData = "keydata2";
inline constexpr const char* keyboardId = "keyboardId";
inline constexpr const char* applyAtLogin = "applyatlogin";
inline constexpr const char* launchCount = "launchcount";
inline constexpr const char* noUpdatePrompt = "noupdateprompt";

}  // namespace keyvane::defaults_keys
