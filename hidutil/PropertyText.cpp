#include "hidutil/PropertyText.h"

#include "common/Hex.h"
#include "common/Utf8.h"
#include "hidutil/Messages.h"

namespace keyvane::hidutil {
namespace {

class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    ParsedText run() {
        ParsedText result;
        Value value;
        skipSpace();
        if (readValue(value, 0)) {
            skipSpace();
            if (pos_ == text_.size()) {
                result.value = std::move(value);
                return result;
            }
            fail(pos_, text::expectEnd);
        }
        result.error = error_;
        return result;
    }

  private:
    bool fail(std::size_t position, std::string_view expected) {
        error_ = {position, std::string(expected)};
        return false;
    }
    bool atEnd() const { return pos_ >= text_.size(); }
    char peek() const { return atEnd() ? '\0' : text_[pos_]; }

    void skipSpace() {
        while (!atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\n' || peek() == '\r'))
            ++pos_;
    }

    bool readValue(Value& value, int depth) {
        value.position = pos_;
        switch (peek()) {
            case '{':
                return readObject(value, depth + 1);
            case '[':
                return readArray(value, depth + 1);
            case '"':
                value.kind = Value::Kind::String;
                return readString(value.string);
            default:
                if (peek() >= '0' && peek() <= '9') {
                    value.kind = Value::Kind::Integer;
                    return readInteger(value.integer);
                }
                return fail(pos_, text::expectValue);
        }
    }

    bool readObject(Value& value, int depth) {
        if (depth > maxNesting)
            return fail(pos_, text::expectShallower);
        value.kind = Value::Kind::Object;
        ++pos_;
        skipSpace();
        if (peek() == '}') {
            ++pos_;
            return true;
        }
        for (bool first = true;; first = false) {
            if (peek() != '"')
                return fail(pos_, first ? text::expectKeyOrEnd : text::expectKey);
            Member member;
            member.keyPosition = pos_;
            if (!readString(member.key))
                return false;
            if (findMember(value, member.key))
                return fail(member.keyPosition, text::expectUniqueKey);
            skipSpace();
            if (peek() != ':')
                return fail(pos_, text::expectColon);
            ++pos_;
            skipSpace();
            if (!readValue(member.value, depth))
                return false;
            value.members.push_back(std::move(member));
            skipSpace();
            if (peek() == '}') {
                ++pos_;
                return true;
            }
            if (peek() != ',')
                return fail(pos_, text::expectCommaOrBrace);
            ++pos_;
            skipSpace();
        }
    }

    bool readArray(Value& value, int depth) {
        if (depth > maxNesting)
            return fail(pos_, text::expectShallower);
        value.kind = Value::Kind::Array;
        ++pos_;
        skipSpace();
        if (peek() == ']') {
            ++pos_;
            return true;
        }
        for (;;) {
            Value item;
            if (!readValue(item, depth))
                return false;
            value.items.push_back(std::move(item));
            skipSpace();
            if (peek() == ']') {
                ++pos_;
                return true;
            }
            if (peek() != ',')
                return fail(pos_, text::expectCommaOrBracket);
            ++pos_;
            skipSpace();
        }
    }

    bool readInteger(std::uint64_t& result) {
        const std::size_t start = pos_;
        std::uint64_t number = 0;
        if (peek() == '0' && pos_ + 1 < text_.size() &&
            (text_[pos_ + 1] == 'x' || text_[pos_ + 1] == 'X')) {
            pos_ += 2;
            if (hexDigitValue(peek()) < 0)
                return fail(pos_, text::expectHexDigit);
            for (int digit; (digit = hexDigitValue(peek())) >= 0; ++pos_) {
                if (number >> 60)
                    return fail(start, text::expectSmallerInteger);
                number = number << 4 | static_cast<unsigned>(digit);
            }
        } else {
            if (peek() == '0' && pos_ + 1 < text_.size() && text_[pos_ + 1] >= '0' &&
                text_[pos_ + 1] <= '9')
                return fail(start, text::expectNoLeadingZero);
            for (; peek() >= '0' && peek() <= '9'; ++pos_) {
                const unsigned digit = static_cast<unsigned>(peek() - '0');
                if (number > (UINT64_MAX - digit) / 10)
                    return fail(start, text::expectSmallerInteger);
                number = number * 10 + digit;
            }
        }
        result = number;
        return true;
    }

    // The value of the four hexadecimal digits after the "u" at pos_, or -1.
    int escapedUnit() const {
        int unit = 0;
        for (std::size_t i = 1; i <= 4; ++i) {
            const int digit = pos_ + i < text_.size() ? hexDigitValue(text_[pos_ + i]) : -1;
            if (digit < 0)
                return -1;
            unit = unit << 4 | digit;
        }
        return unit;
    }

    // A Unicode escape, pos_ at its "u": a surrogate pair becomes the one code point it encodes,
    // and a surrogate without its other half U+FFFD, so that the text stays valid UTF-8.
    bool readUnicodeEscape(std::string& out, std::size_t escape) {
        const int unit = escapedUnit();
        if (unit < 0)
            return fail(escape, text::expectEscape);
        pos_ += 4;
        char32_t code = static_cast<char32_t>(unit);
        if (unit >= 0xD800 && unit <= 0xDBFF && text_.compare(pos_ + 1, 2, "\\u") == 0) {
            pos_ += 2;
            const int low = escapedUnit();
            if (low >= 0xDC00 && low <= 0xDFFF) {
                code = 0x10000 + ((code - 0xD800) << 10) + static_cast<char32_t>(low - 0xDC00);
                pos_ += 4;
            } else {
                pos_ -= 2;  // the next escape is read on its own
            }
        }
        appendUtf8(out, code >= 0xD800 && code <= 0xDFFF ? char32_t{0xFFFD} : code);
        return true;
    }

    bool readString(std::string& out) {
        ++pos_;  // the opening quote
        for (;;) {
            if (atEnd())
                return fail(pos_, text::expectClosingQuote);
            const char c = text_[pos_];
            if (c == '"') {
                ++pos_;
                return true;
            }
            if (static_cast<unsigned char>(c) < 0x20)
                return fail(pos_, text::expectNoControl);
            if (c != '\\') {
                out += c;
                ++pos_;
                continue;
            }
            const std::size_t escape = pos_;
            ++pos_;
            switch (peek()) {
                case '"':
                case '\\':
                case '/':
                    out += peek();
                    break;
                case 'b':
                    out += '\b';
                    break;
                case 'f':
                    out += '\f';
                    break;
                case 'n':
                    out += '\n';
                    break;
                case 'r':
                    out += '\r';
                    break;
                case 't':
                    out += '\t';
                    break;
                case 'u':
                    if (!readUnicodeEscape(out, escape))
                        return false;
                    break;
                default:
                    return fail(escape, text::expectEscape);
            }
            ++pos_;
        }
    }

    std::string_view text_;
    std::size_t pos_ = 0;
    TextError error_;
};

}  // namespace

ParsedText parsePropertyText(std::string_view text) {
    return Reader(text).run();
}

const Value* findMember(const Value& object, std::string_view key) {
    for (const Member& member : object.members)
        if (member.key == key)
            return &member.value;
    return nullptr;
}

}  // namespace keyvane::hidutil
