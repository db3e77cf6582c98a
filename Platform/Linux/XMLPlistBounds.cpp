// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/XMLPlistBounds.h"

#include <algorithm>

namespace quorrel {

namespace {

constexpr auto none = std::string_view::npos;

/// Moves behind the end of what starts there; false when it has no end.
bool passOver(std::string_view bytes, std::size_t& at, std::string_view start, std::string_view end) {
    const auto found = bytes.find(end, at + start.size());
    at = found == none ? bytes.size() : found + end.size();
    return found != none;
}

/// Behind what starts there, a tag or what stands for none; the end when it has no end.
std::size_t behindMarkup(std::string_view bytes, std::size_t at) {
    const auto rest = bytes.substr(at);
    if (rest.starts_with("<!--"))
        static_cast<void>(passOver(bytes, at, "<!--", "-->"));
    else if (rest.starts_with("<![CDATA["))
        static_cast<void>(passOver(bytes, at, "<![CDATA[", "]]>"));
    else
        static_cast<void>(passOver(bytes, at, "<", ">"));
    return at;
}

} // namespace

std::optional<std::string> xmlPlistRefusal(std::string_view bytes, std::size_t deepest) {
    constexpr std::size_t containing = 1; // the plist element around the root
    std::size_t depth = 0;
    for (auto at = bytes.find('<'); at != none; at = bytes.find('<', at)) {
        const auto rest = bytes.substr(at);
        if (rest.starts_with("<!--")) {
            if (!passOver(bytes, at, "<!--", "-->"))
                return "A comment has no end";
            continue;
        }
        if (rest.starts_with("<![CDATA[")) {
            if (!passOver(bytes, at, "<![CDATA[", "]]>"))
                return "A literal text has no end";
            continue;
        }
        const auto end = bytes.find('>', at);
        if (end == none)
            return "A tag has no end";
        const auto tag = bytes.substr(at, end - at);
        if (tag.find('<', 1) != none || (tag.starts_with("<?") && !tag.ends_with('?')))
            return "A tag holds another";
        if (tag.starts_with("</"))
            depth -= depth > 0 ? 1 : 0;
        else if (!tag.starts_with("<?") && !tag.starts_with("<!") && !tag.ends_with('/')
            && ++depth > deepest + containing + 1)
            return "It is nested too deeply";
        at = end + 1;
    }
    return std::nullopt;
}

std::optional<std::string> xmlPlistWithDividedTexts(std::string_view bytes) {
    constexpr std::size_t mostEscapes = 1000;
    constexpr std::string_view divider = "<![CDATA[]]>";
    std::string result;
    std::size_t copied = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        const auto end = std::min(bytes.find('<', at), bytes.size());
        std::size_t escapes = 0;
        for (; at < end; ++at) {
            if (bytes[at] != '&' || ++escapes % mostEscapes != 0)
                continue;
            result.append(bytes.substr(copied, at - copied)).append(divider);
            copied = at;
        }
        if (end < bytes.size())
            at = behindMarkup(bytes, end);
    }
    if (copied == 0)
        return std::nullopt;
    return result.append(bytes.substr(copied));
}

} // namespace quorrel
