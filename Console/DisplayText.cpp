// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/DisplayText.h"

#include "Foundation/Text.h"

#include <clocale>
#include <cwchar>

namespace quorrel::DisplayText {

namespace {

/// A language's locale may be one that knows no wide characters; the names shown are UTF-8 all the same.
class UnicodeLocale final {
public:
    UnicodeLocale()
        : m_previous(uselocale(shared())) { }
    ~UnicodeLocale() { uselocale(m_previous); }
    UnicodeLocale(const UnicodeLocale&) = delete;
    UnicodeLocale& operator=(const UnicodeLocale&) = delete;

private:
    static locale_t shared() {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }

    const locale_t m_previous;
};

struct Character final {
    char32_t code = 0;
    std::size_t length = 1; ///< in bytes
};

/// The character at that place; a byte that begins none stands for itself.
Character characterAt(std::string_view text, std::size_t position) {
    const auto lead = static_cast<unsigned char>(text[position]);
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
    if (length == 1 || position + length > text.size())
        return { lead, 1 };
    char32_t code = lead & (0xFFU >> (length + 1));
    for (std::size_t index = 1; index < length; ++index) {
        const auto next = static_cast<unsigned char>(text[position + index]);
        if ((next & 0xC0U) != 0x80)
            return { lead, 1 };
        code = (code << 6U) | (next & 0x3FU);
    }
    return { code, length };
}

std::size_t columnsOf(char32_t code) {
    if (code >= ' ' && code < 0x7F)
        return 1; // sooner than the locale tells
    const int columns = wcwidth(static_cast<wchar_t>(code));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

} // namespace

std::string printable(std::string_view text) {
    return Text::onOneLine(text);
}

std::size_t width(std::string_view text, std::size_t limit) {
    const UnicodeLocale locale;
    std::size_t columns = 0;
    for (std::size_t position = 0; position < text.size() && columns <= limit;) {
        const auto character = characterAt(text, position);
        columns += columnsOf(character.code);
        position += character.length;
    }
    return columns;
}

std::string clipped(std::string_view text, std::size_t columns) {
    const UnicodeLocale locale;
    std::size_t used = 0;
    std::size_t end = 0; // of what leaves a column for the mark
    for (std::size_t position = 0; position < text.size();) {
        const auto character = characterAt(text, position);
        used += columnsOf(character.code);
        if (used > columns)
            return columns == 0 ? std::string() : std::string(text.substr(0, end)) + "…";
        position += character.length;
        if (used < columns)
            end = position;
    }
    return std::string(text);
}

std::string padded(std::string_view text, std::size_t columns) {
    const auto used = width(text);
    return std::string(text) + std::string(used < columns ? columns - used : 0, ' ');
}

} // namespace quorrel::DisplayText
