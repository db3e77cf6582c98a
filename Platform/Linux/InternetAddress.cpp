// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/InternetAddress.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace quorrel {

namespace {

struct ListDeleter final {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

} // namespace

std::optional<InternetAddress> InternetAddress::parse(const std::string& text) {
    // The C library reads up to the zero only.
    if (text.find('\0') != std::string::npos)
        return std::nullopt;
    addrinfo hints {};
    hints.ai_flags = AI_NUMERICHOST;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(text.c_str(), nullptr, &hints, &found) != 0)
        return std::nullopt;
    const std::unique_ptr<addrinfo, ListDeleter> list(found);
    InternetAddress address;
    if (list->ai_family == AF_INET) {
        sockaddr_in place {};
        std::memcpy(&place, list->ai_addr, sizeof place);
        std::memcpy(address.bytes.data(), &place.sin_addr, sizeof place.sin_addr);
        return address;
    }
    if (list->ai_family != AF_INET6)
        return std::nullopt;
    sockaddr_in6 place {};
    std::memcpy(&place, list->ai_addr, sizeof place);
    std::memcpy(address.bytes.data(), &place.sin6_addr, sizeof place.sin6_addr);
    if (IN6_IS_ADDR_V4MAPPED(&place.sin6_addr)) {
        std::rotate(address.bytes.begin(), address.bytes.begin() + 12, address.bytes.end());
        std::fill(address.bytes.begin() + 4, address.bytes.end(), std::uint8_t { 0 });
        return address;
    }
    address.isVersion6 = true;
    address.link = place.sin6_scope_id;
    return address;
}

bool InternetAddress::isSameHostAs(const InternetAddress& other) const {
    return isVersion6 == other.isVersion6 && bytes == other.bytes
        && (link == other.link || link == 0 || other.link == 0);
}

bool InternetAddress::isLinkLocal() const {
    return isVersion6 ? bytes[0] == 0xFE && (bytes[1] & 0xC0) == 0x80 : bytes[0] == 169 && bytes[1] == 254;
}

} // namespace quorrel
