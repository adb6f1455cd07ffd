#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "remote/ServiceTexts.h"

namespace keyvane {

// What the web service says about versions. Held in memory only: every launch starts from these
// defaults, and an accepted answer replaces all four values together.
struct RemoteConfig {
    std::string configTag = service::configTag;
    std::string configFlag = service::defaultConfigFlag;  // taken over, read by nothing
    std::string minimumVersion = service::defaultVersion;
    std::string latestVersion = service::defaultVersion;

    bool operator==(const RemoteConfig&) const = default;
};

// The configuration of this process; main queue only.
extern RemoteConfig remoteConfig;

namespace config_answer {

// The plain text inside an answer body ("fau" for "=", reversed, base64, UTF-8, reversed); empty
// when any step fails.
std::string decodedText(std::string_view body);
// The configuration an answer carries: exactly four lines, the first exactly "config".
std::optional<RemoteConfig> decode(std::string_view body);

// Strict base64: the standard alphabet only, padded to a multiple of four characters.
std::optional<std::vector<unsigned char>> base64Decode(std::string_view text);
// The text with its user-perceived characters in reverse order.
std::string reversedCharacters(std::string_view text);

}  // namespace config_answer

// The order of version texts: as texts, not numbers. Both are brought to their canonical
// composition, then compared code point by code point, a prefix sorting first: "1.1" < "1.1.1" <
// "1.2", but "1.10" < "1.9".
bool versionSortsBelow(std::string_view version, std::string_view other);

}  // namespace keyvane
