#include "common/Text.h"

namespace keyvane {

std::string replacingOccurrences(std::string text, std::string_view what, std::string_view with) {
    if (what.empty())
        return text;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

std::vector<std::string> splitKeepingEmpty(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (std::size_t at = text.find(separator); at != std::string_view::npos;
         at = text.find(separator, start)) {
        pieces.emplace_back(text.substr(start, at - start));
        start = at + 1;
    }
    pieces.emplace_back(text.substr(start));
    return pieces;
}

std::string fillIn(std::string_view pattern, const std::vector<std::string>& values) {
    std::string text;
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        const char next = at + 1 < pattern.size() ? pattern[at + 1] : '\0';
        const std::size_t number = next >= '1' && next <= '9' ? std::size_t(next - '0') : 0;
        if (pattern[at] == '%' && number >= 1 && number <= values.size()) {
            text += values[number - 1];
            ++at;
        } else {
            text += pattern[at];
        }
    }
    return text;
}

std::string groupedDigits(std::size_t number) {
    const std::string digits = std::to_string(number);
    std::string grouped;
    for (std::size_t at = 0; at < digits.size(); ++at) {
        if (at > 0 && (digits.size() - at) % 3 == 0)
            grouped += ',';
        grouped += digits[at];
    }
    return grouped;
}

std::string oneLine(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = ' ';
    return text;
}

}  // namespace keyvane
