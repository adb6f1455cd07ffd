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

}  // namespace keyvane
