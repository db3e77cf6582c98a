// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ServerURL.h"

#include "Foundation/Text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace quorrel {

namespace {

bool isUnreserved(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
        || (character >= '0' && character <= '9') || std::string_view("-._~").find(character) != std::string_view::npos;
}

void readUserPart(std::string_view part, ServerURL& url) {
    constexpr std::string_view authentication = ";AUTH=";
    if (const auto semicolon = part.find(authentication); semicolon != std::string_view::npos) {
        const auto method = part.substr(semicolon + authentication.size());
        const auto colon = method.find(':');
        url.asksForGuest = Text::percentDecoded(method.substr(0, colon)) == "No User Authent";
        url.user = Text::percentDecoded(part.substr(0, semicolon));
        if (colon != std::string_view::npos)
            url.password = Text::percentDecoded(method.substr(colon + 1));
        return;
    }
    const auto colon = part.find(':');
    url.user = Text::percentDecoded(part.substr(0, colon));
    if (colon != std::string_view::npos)
        url.password = Text::percentDecoded(part.substr(colon + 1));
}

/// False when a port stands there that is none.
bool readHostPart(std::string_view part, ServerURL& url) {
    std::string_view port;
    const auto colons = std::count(part.begin(), part.end(), ':');
    if (part.starts_with('[')) {
        const auto end = part.find(']');
        if (end == std::string_view::npos)
            return false;
        url.host = Text::percentDecoded(part.substr(1, end - 1));
        port = part.substr(end + 1);
        if (!port.empty() && !port.starts_with(':'))
            return false;
        port = port.substr(std::min<std::size_t>(1, port.size()));
    } else if (colons > 1) {
        // An address of the longer kind without its brackets; where a port would start cannot be told.
        url.host = Text::percentDecoded(part);
    } else {
        const auto colon = part.find(':');
        url.host = Text::percentDecoded(part.substr(0, colon));
        port = colon == std::string_view::npos ? std::string_view() : part.substr(colon + 1);
    }
    if (port.empty())
        return true;
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), url.port);
    return error == std::errc() && end == port.data() + port.size() && url.port > 0 && url.port <= 65535;
}

} // namespace

std::optional<ServerURL> ServerURL::parse(std::string_view text) {
    const auto schemeEnd = text.find("://");
    if (schemeEnd == std::string_view::npos || schemeEnd == 0)
        return std::nullopt;
    ServerURL url;
    url.scheme = Text::lowerCase(text.substr(0, schemeEnd));
    const auto rest = text.substr(schemeEnd + 3);
    const auto slash = rest.find('/');
    auto authority = rest.substr(0, slash);
    if (slash != std::string_view::npos)
        url.path = Text::percentDecoded(rest.substr(slash + 1));
    // A password may hold any sign, a host none of these: the last one divides them.
    if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
        readUserPart(authority.substr(0, at), url);
        authority = authority.substr(at + 1);
    }
    if (!readHostPart(authority, url) || url.host.empty())
        return std::nullopt;
    return url;
}

std::string ServerURL::printable() const {
    // A slash in a password moves the rest of it into the path, up to the sign that was to end it.
    const auto at = path.rfind('@');
    const std::string shown = at == std::string::npos ? path : "..." + path.substr(at);
    const std::string place = host.find(':') == std::string::npos ? host : "[" + host + "]";
    return scheme + "://" + place + (port > 0 ? ":" + std::to_string(port) : std::string()) + "/" + shown;
}

std::string percentEncoded(std::string_view text, std::string_view kept) {
    constexpr std::array digits { '0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F' };
    std::string result;
    for (const char character : text) {
        if (isUnreserved(character) || kept.find(character) != std::string_view::npos) {
            result += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        result += '%';
        result += digits[byte >> 4U];
        result += digits[byte & 15U];
    }
    return result;
}

} // namespace quorrel
