#include "remote/RemoteConfig.h"

#include <algorithm>
#include <array>

#include "common/Text.h"
#include "common/Utf8.h"
#include "platform/UnicodeText.h"

namespace keyvane {

RemoteConfig remoteConfig;

namespace config_answer {
namespace {

constexpr std::array<int, 256> base64Values() {
    std::array<int, 256> values{};
    values.fill(-1);
    constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<int>(i);
    return values;
}

}  // namespace

std::optional<std::vector<unsigned char>> base64Decode(std::string_view text) {
    static constexpr std::array<int, 256> values = base64Values();
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=')
        ++padding;
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size() / 4 * 3);
    unsigned buffer = 0;
    int bits = 0;
    for (std::size_t i = 0; i < text.size() - padding; ++i) {
        const int value = values[static_cast<unsigned char>(text[i])];
        if (value < 0)
            return std::nullopt;
        buffer = (buffer << 6) | static_cast<unsigned>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes.push_back(static_cast<unsigned char>((buffer >> bits) & 0xFF));
        }
    }
    return bytes;
}

std::string reversedCharacters(std::string_view text) {
    std::vector<std::string> characters = unicode::graphemeClusters(text);
    std::string result;
    result.reserve(text.size());
    for (auto it = characters.rbegin(); it != characters.rend(); ++it)
        result += *it;
    return result;
}

std::string decodedText(std::string_view body) {
    const std::string base64 = reversedCharacters(
        replacingOccurrences(std::string(body), service::paddingInTransit, service::padding));
    const std::optional<std::vector<unsigned char>> bytes = base64Decode(base64);
    if (!bytes)
        return {};
    const std::string text(bytes->begin(), bytes->end());
    if (!isValidUtf8(text))
        return {};
    return reversedCharacters(text);
}

std::optional<RemoteConfig> decode(std::string_view body) {
    const std::vector<std::string> lines = splitKeepingEmpty(decodedText(body), '\n');
    if (lines.size() != 4 || lines[0] != service::configTag)
        return std::nullopt;
    return RemoteConfig{lines[0], lines[1], lines[2], lines[3]};
}

}  // namespace config_answer

bool versionSortsBelow(std::string_view version, std::string_view other) {
    const std::u32string left = unicode::canonicalCodePoints(version);
    const std::u32string right = unicode::canonicalCodePoints(other);
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end());
}

}  // namespace keyvane
