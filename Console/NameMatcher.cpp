// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/NameMatcher.h"

#include "Foundation/Text.h"
#include "Sources/HostDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

constexpr std::size_t mostSuggestions = 3;
/// A part of a name is a better guess than any misspelling but the slightest.
constexpr std::size_t distanceOfPart = 1;
constexpr std::size_t shortestPart = 2;
/// By so many bytes nobody mistypes a name, and to count further takes time and room with its length.
constexpr std::size_t farOff = 100;

/// How many single bytes have to be inserted, removed, replaced or swapped with their neighbour.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> beforeLast(right.size() + 1);
    std::vector<std::size_t> last(right.size() + 1);
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t column = 0; column <= right.size(); ++column)
        last[column] = column;
    for (std::size_t line = 1; line <= left.size(); ++line) {
        row[0] = line;
        for (std::size_t column = 1; column <= right.size(); ++column) {
            const std::size_t replacing = left[line - 1] == right[column - 1] ? 0 : 1;
            row[column] = std::min({ last[column] + 1, row[column - 1] + 1, last[column - 1] + replacing });
            if (line > 1 && column > 1 && left[line - 1] == right[column - 2] && left[line - 2] == right[column - 1])
                row[column] = std::min(row[column], beforeLast[column - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, row);
    }
    return last[right.size()];
}

/// Letter case aside.
std::size_t distance(const std::string& typed, const std::string& name) {
    const auto wanted = Text::lowerCase(typed);
    const auto candidate = Text::lowerCase(name);
    if (wanted.size() >= shortestPart && wanted != candidate && candidate.find(wanted) != std::string::npos)
        return distanceOfPart;
    const auto difference = std::max(wanted.size(), candidate.size()) - std::min(wanted.size(), candidate.size());
    return difference > farOff ? difference : editDistance(wanted, candidate);
}

/// Of the items, those whose name is exactly that; else those whose name is that letter case aside, provided that they
/// are all spelled alike.
template <typename Item, typename NameOf>
std::vector<Item> called(const std::vector<Item>& items, const std::string& name, NameOf nameOf) {
    std::vector<Item> exact;
    std::vector<Item> folded;
    std::set<std::string> spellings;
    const auto wanted = Text::lowerCase(name);
    for (const auto& item : items) {
        if (nameOf(item) == name) {
            exact.push_back(item);
        } else if (Text::lowerCase(nameOf(item)) == wanted) {
            folded.push_back(item);
            spellings.insert(nameOf(item));
        }
    }
    if (exact.empty() && spellings.size() == 1)
        return folded;
    return exact;
}

} // namespace

NameMatcher::NameMatcher(const std::vector<std::shared_ptr<HostDefinition>>& hosts) {
    for (const auto& definition : hosts) {
        Host host { textOf(definition->displayName.get()), {} };
        for (const auto& sharePoint : definition->sharePoints.snapshot())
            host.shares.push_back({ textOf(sharePoint->sharePoint.get()), sharePoint });
        m_hosts.push_back(std::move(host));
    }
}

NameMatcher::SharePoints NameMatcher::allSharePoints() const {
    SharePoints all;
    for (const auto& host : m_hosts)
        for (const auto& share : host.shares)
            all.push_back(share.sharePoint);
    return all;
}

std::optional<NameMatcher::SharePoints> NameMatcher::sharePointsFor(const std::string& name) const {
    if (const auto hosts = hostsCalled(name); !hosts.empty()) {
        SharePoints found;
        for (const auto* host : hosts)
            for (const auto& share : host->shares)
                found.push_back(share.sharePoint);
        return found;
    }
    // Every slash may be the one between host and share, since both may hold slashes themselves.
    for (auto slash = name.find('/'); slash != std::string::npos; slash = name.find('/', slash + 1)) {
        auto found = sharesCalled(hostsCalled(name.substr(0, slash)), name.substr(slash + 1));
        if (!found.empty())
            return found;
    }
    return std::nullopt;
}

std::vector<const NameMatcher::Host*> NameMatcher::hostsCalled(const std::string& name) const {
    std::vector<const Host*> hosts;
    for (const auto& host : m_hosts)
        hosts.push_back(&host);
    return called(hosts, name, [](const Host* host) -> const std::string& { return host->name; });
}

NameMatcher::SharePoints NameMatcher::sharesCalled(const std::vector<const Host*>& hosts, const std::string& name) {
    std::vector<const Share*> shares;
    for (const auto* host : hosts)
        for (const auto& share : host->shares)
            shares.push_back(&share);
    SharePoints found;
    for (const auto* share : called(shares, name, [](const Share* each) -> const std::string& { return each->name; }))
        found.push_back(share->sharePoint);
    return found;
}

std::vector<std::string> NameMatcher::nearestNames(const std::string& name) const {
    std::set<std::pair<std::size_t, std::string>> candidates;
    for (const auto& host : m_hosts) {
        candidates.emplace(distance(name, host.name), host.name);
        for (const auto& share : host.shares) {
            const auto full = host.name + '/' + share.name;
            // Who leaves the host out means the share all the same; the host alone must not drag its shares along.
            const auto near = name.find('/') == std::string::npos ? distance(name, share.name) : distance(name, full);
            candidates.emplace(near, full);
        }
    }
    std::vector<std::string> nearest;
    for (const auto& [far, candidate] : candidates) {
        // Behind a close guess, distant ones are noise.
        if (nearest.size() == mostSuggestions || far > candidates.begin()->first + 1)
            break;
        if (std::find(nearest.begin(), nearest.end(), candidate) == nearest.end())
            nearest.push_back(candidate);
    }
    return nearest;
}

} // namespace quorrel
