#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keyvane::hidutil {

// The property texts hidutil accepts: JSON's objects, arrays and strings, but integers only, in
// decimal or in hexadecimal with 0x (usages such as 0x700000039 are written that way). Nothing
// else (no true, false, null, fractions or signs), so that a malformed command fails loudly
// instead of installing something unintended.
struct Member;

struct Value {
    enum class Kind { Object, Array, String, Integer };
    Kind kind = Kind::Integer;
    std::size_t position = 0;  // offset of the value's first character in the text
    std::uint64_t integer = 0;
    std::string string;
    std::vector<Value> items;     // of an array
    std::vector<Member> members;  // of an object, in the order written
};

struct Member {
    std::string key;
    std::size_t keyPosition = 0;
    Value value;
};

// Where reading stopped and what would have been accepted there.
struct TextError {
    std::size_t position = 0;  // offset into the text
    std::string expected;
};

struct ParsedText {
    std::optional<Value> value;
    TextError error;  // meaningful when value is empty
};

// Objects and arrays nest at most this deep; deeper text is refused instead of exhausting the
// stack.
inline constexpr int maxNesting = 64;

ParsedText parsePropertyText(std::string_view text);

// The member of an object with that key, or nullptr.
const Value* findMember(const Value& object, std::string_view key);

}  // namespace keyvane::hidutil
