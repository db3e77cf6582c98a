// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/LetterCase.h"

#include "Foundation/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace quorrel::Text {

namespace {

struct Capitals final {
    int first;
    int last;
    int distance; ///< to the small letter; where it is 1, capitals and small letters take turns
};

constexpr std::array capitals {
    Capitals { 0x00C0, 0x00D6, 0x20 },
    Capitals { 0x00D8, 0x00DE, 0x20 },
    Capitals { 0x0100, 0x012F, 1 },
    Capitals { 0x0132, 0x0137, 1 },
    Capitals { 0x0139, 0x0148, 1 },
    Capitals { 0x014A, 0x0177, 1 },
    Capitals { 0x0178, 0x0178, 0x00FF - 0x0178 },
    Capitals { 0x0179, 0x017E, 1 },
    Capitals { 0x0386, 0x0386, 0x26 },
    Capitals { 0x0388, 0x038A, 0x25 },
    Capitals { 0x038C, 0x038C, 0x40 },
    Capitals { 0x038E, 0x038F, 0x3F },
    Capitals { 0x0391, 0x03A1, 0x20 },
    Capitals { 0x03A3, 0x03AB, 0x20 },
    Capitals { 0x03C2, 0x03C2, 1 }, // no capital, but the form of one's small letter at the end of a word
    Capitals { 0x0400, 0x040F, 0x50 },
    Capitals { 0x0410, 0x042F, 0x20 },
    Capitals { 0x048A, 0x04BF, 1 },
    Capitals { 0x04D0, 0x052F, 1 },
};

int smallLetter(int code) {
    const auto* const found
        = std::find_if(capitals.begin(), capitals.end(), [&](const Capitals& each) { return code <= each.last; });
    if (found == capitals.end() || code < found->first || (found->distance == 1 && (code - found->first) % 2 != 0))
        return code;
    return code + found->distance;
}

} // namespace

std::string foldedCase(std::string_view text) {
    auto result = lowerCase(text);
    // All the other letters in the table take two bytes, capital and small.
    for (std::size_t index = 0; index + 1 < result.size(); ++index) {
        const auto lead = static_cast<unsigned char>(result[index]);
        const auto next = static_cast<unsigned char>(result[index + 1]);
        if (lead < 0xC3 || lead > 0xDF || (next & 0xC0) != 0x80)
            continue;
        const int letter = smallLetter(((lead & 0x1F) << 6) | (next & 0x3F));
        result[index] = static_cast<char>(0xC0 | (letter >> 6));
        result[index + 1] = static_cast<char>(0x80 | (letter & 0x3F));
        ++index;
    }
    return result;
}

} // namespace quorrel::Text
