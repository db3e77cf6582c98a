// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Text.h"

#include <charconv>
#include <cstddef>
#include <optional>

namespace quorrel::Text {

namespace {

void appendEscapes(std::string& result, std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        result += "\\x";
        result += digits[byte >> 4U];
        result += digits[byte & 15U];
    }
}

void appendCodeEscape(std::string& result, unsigned code) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    result += "\\u";
    for (const int shift : { 12, 8, 4, 0 })
        result += digits[(code >> shift) & 15];
}

/// The code of a character that is no control, but rearranges or hides what stands around it.
std::optional<unsigned> deceptiveCode(std::string_view character) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(character[index]); };
    unsigned code = 0;
    if (character.size() == 2)
        code = (byte(0) & 0x1FU) << 6U | (byte(1) & 0x3FU);
    else if (character.size() == 3)
        code = (byte(0) & 0xFU) << 12U | (byte(1) & 0x3FU) << 6U | (byte(2) & 0x3FU);
    const bool isDeceptive = (code >= 0x200B && code <= 0x200F) || (code >= 0x2028 && code <= 0x202E)
        || (code >= 0x2060 && code <= 0x206F) || code == 0x061C || code == 0xFEFF;
    return isDeceptive ? std::optional(code) : std::nullopt;
}

/// A control character, in ASCII or above it.
bool isControl(std::string_view character) {
    const auto last = static_cast<unsigned char>(character.back());
    return character.size() == 1 ? last < 0x20 || last == 0x7F
                                 : character.size() == 2 && character.front() == '\xC2' && last < 0xA0;
}

/// Of how many bytes from there on each is a character that is shown as it stands. Nearly all of any text is.
std::size_t plainLength(std::string_view text, std::size_t start) {
    const auto* const begin = text.data() + start;
    const auto* const end = text.data() + text.size();
    const auto* each = begin;
    while (each != end && *each >= ' ' && *each < '\x7F')
        ++each;
    return static_cast<std::size_t>(each - begin);
}

/// The length of the well-formed UTF-8 sequence that starts there, 0 when there is none.
std::size_t sequenceLength(std::string_view text, std::size_t start) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const auto lead = byte(start);
    std::size_t length = lead < 0x80  ? 1
        : lead >= 0xC2 && lead < 0xE0 ? 2
        : (lead & 0xF0) == 0xE0       ? 3
        : lead >= 0xF0 && lead < 0xF5 ? 4
                                      : 0;
    if (length == 0 || start + length > text.size())
        return 0;
    for (std::size_t index = 1; index < length; ++index)
        if ((byte(start + index) & 0xC0) != 0x80)
            return 0;
    if (length < 3)
        return length;
    const auto second = byte(start + 1);
    const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool outside = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
    return overlong || outside ? 0 : length;
}

/// Has every character that need not be shown as it stands, and every byte that is part of none, appended by somebody
/// else, who is told which of the two it is.
template <typename Append>
std::string rewritten(std::string_view text, Append append) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size();) {
        const auto plain = plainLength(text, index);
        result.append(text.substr(index, plain));
        index += plain;
        if (index == text.size())
            break;
        const auto length = sequenceLength(text, index);
        const auto character = text.substr(index, length == 0 ? 1 : length);
        append(result, character, length > 0);
        index += character.size();
    }
    return result;
}

template <typename Show>
std::string filledWith(std::string_view format, std::initializer_list<std::string> values, Show show) {
    std::string result;
    const auto* next = values.begin();
    for (std::size_t index = 0; index < format.size(); ++index) {
        const char sign = format[index] == '%' && index + 1 < format.size() ? format[index + 1] : '\0';
        if (sign == '@' || sign == 'd' || sign == 'i') {
            if (next != values.end())
                result += show(*next++);
            ++index;
        } else if (sign == '%') {
            result += '%';
            ++index;
        } else {
            result += format[index];
        }
    }
    return result;
}

} // namespace

std::string filled(std::string_view format, std::initializer_list<std::string> values) {
    return filledWith(format, values, [](const std::string& value) { return value; });
}

std::string filledOnOneLine(std::string_view format, std::initializer_list<std::string> values) {
    return filledWith(format, values, [](const std::string& value) { return onOneLine(value); });
}

std::string escapedControls(std::string_view text) {
    return rewritten(text, [](std::string& result, std::string_view character, bool isWellFormed) {
        if (!isWellFormed || (isControl(character) && character != "\n" && character != "\t"))
            appendEscapes(result, character);
        else
            result += character;
    });
}

std::string onOneLine(std::string_view text) {
    return rewritten(text, [](std::string& result, std::string_view character, bool isWellFormed) {
        if (character == "\n")
            result += "\\n";
        else if (character == "\t")
            result += "\\t";
        else if (!isWellFormed || isControl(character))
            appendEscapes(result, character);
        else if (const auto code = deceptiveCode(character))
            appendCodeEscape(result, *code);
        else
            result += character;
    });
}

std::string withoutControls(std::string_view text, char mark) {
    return rewritten(text, [mark](std::string& result, std::string_view character, bool isWellFormed) {
        const auto code = deceptiveCode(character);
        const bool isJoiner = code == 0x200CU || code == 0x200DU;
        if (!isWellFormed || isControl(character) || (code && !isJoiner))
            result += mark;
        else
            result += character;
    });
}

bool isUTF8(std::string_view bytes) {
    std::size_t index = 0;
    while (index < bytes.size()) {
        const auto length = sequenceLength(bytes, index);
        if (length == 0)
            return false;
        index += length;
    }
    return true;
}

std::string fromASCII(std::string_view bytes) {
    std::string result;
    result.reserve(bytes.size());
    for (const char byte : bytes)
        if (static_cast<unsigned char>(byte) < 0x80)
            result += byte;
        else
            result += "\xEF\xBF\xBD";
    return result;
}

std::string lowerCase(std::string_view text) {
    std::string result(text);
    for (char& letter : result)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return result;
}

std::string lastPathComponent(std::string_view path) {
    const auto end = path.find_last_not_of('/');
    if (end == std::string_view::npos)
        return {};
    const auto trimmed = path.substr(0, end + 1);
    const auto slash = trimmed.rfind('/');
    return std::string(slash == std::string_view::npos ? trimmed : trimmed.substr(slash + 1));
}

std::string_view withoutOuterSlashes(std::string_view path) {
    while (path.starts_with('/'))
        path.remove_prefix(1);
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

std::string percentDecoded(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        unsigned char value = 0;
        const char* digits = text.data() + index + 1;
        if (text[index] == '%' && index + 2 < text.size()
            && std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
            result += static_cast<char>(value);
            index += 2;
        } else {
            result += text[index];
        }
    }
    return result;
}

} // namespace quorrel::Text
