#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace keyvane {

struct DefaultsValue;
using DefaultsArray = std::vector<DefaultsValue>;
using DefaultsDictionary = std::map<std::string, DefaultsValue>;

// One value of the user defaults, as JSON holds it. Integers and reals stay apart so that an
// integer written is an integer read back.
struct DefaultsValue {
    std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, DefaultsArray,
                 DefaultsDictionary>
        value;

    template <typename T>
    const T* get() const {
        return std::get_if<T>(&value);
    }
    bool operator==(const DefaultsValue&) const = default;
};

}  // namespace keyvane
