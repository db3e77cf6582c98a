// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ShareIdentities.h"

#include "Foundation/Text.h"
#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <string_view>
#include <utility>

namespace quorrel {

namespace {

/// Slashes stand between the parts and "#" before the number; controls have no place in what is handed around, and
/// bytes that are no UTF-8 none on a bus.
std::string escaped(std::string_view part) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    const bool isText = Text::isUTF8(part);
    std::string result;
    for (const char letter : part) {
        const auto byte = static_cast<unsigned char>(letter);
        const bool isPlain = byte > ' ' - 1 && byte != 0x7F && (byte < 0x80 || isText);
        if (isPlain && letter != '/' && letter != '#' && letter != '%')
            result += letter;
        else
            result.append({ '%', digits[byte >> 4U], digits[byte & 15U] });
    }
    return result;
}

std::string baseOf(const HostDefinition& host, const SharePointDefinition& sharePoint) {
    const auto service = textOf(sharePoint.displayType.get());
    return escaped(textOf(host.displayName.get())) + '/'
        + escaped(Globals::getShortServiceName(service).value_or(service)) + '/'
        + escaped(textOf(sharePoint.sharePoint.get()));
}

} // namespace

void ShareIdentities::update(const Hosts& hosts) {
    auto before = std::exchange(m_named, {});
    m_byIdentity.clear();
    std::vector<std::pair<SharePointPointer, std::string>> unnamed;
    for (const auto& host : hosts)
        for (const auto& sharePoint : host->sharePoints.snapshot()) {
            auto base = baseOf(*host, *sharePoint);
            const auto known = before.find(sharePoint.get());
            const bool isSame
                = known != before.end() && known->second.base == base && known->second.sharePoint.lock() == sharePoint;
            if (!isSame) {
                unnamed.emplace_back(sharePoint, std::move(base));
                continue;
            }
            m_byIdentity.emplace(known->second.identity, sharePoint);
            m_named.emplace(sharePoint.get(), std::move(known->second));
        }
    for (auto& [sharePoint, base] : unnamed) {
        auto identity = freeIdentity(base);
        m_byIdentity.emplace(identity, sharePoint);
        m_named[sharePoint.get()] = { std::move(base), std::move(identity), sharePoint };
    }
}

std::string ShareIdentities::freeIdentity(const std::string& base) const {
    auto identity = base;
    for (std::size_t number = 2; m_byIdentity.contains(identity); ++number)
        identity = base + '#' + std::to_string(number);
    return identity;
}

std::string ShareIdentities::identityOf(const SharePointDefinition& sharePoint) const {
    const auto found = m_named.find(&sharePoint);
    return found == m_named.end() ? std::string() : found->second.identity;
}

ShareIdentities::SharePointPointer ShareIdentities::sharePoint(const std::string& identity) const {
    const auto found = m_byIdentity.find(identity);
    return found == m_byIdentity.end() ? nullptr : found->second.lock();
}

} // namespace quorrel
