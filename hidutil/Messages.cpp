#include "hidutil/Messages.h"

namespace keyvane::hidutil {

std::string fill(std::string_view format, std::initializer_list<std::string_view> args) {
    std::string out;
    auto next = args.begin();
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] == '{' && i + 1 < format.size() && format[i + 1] == '}' &&
            next != args.end()) {
            out += *next++;
            ++i;
        } else {
            out += format[i];
        }
    }
    return out;
}

}  // namespace keyvane::hidutil
