// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/NameComparison.h"

#include "Foundation/LetterCase.h"
#include "Foundation/Text.h"
#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"

#include <algorithm>
#include <vector>

namespace quorrel {

namespace {

/// Without regard to letter case and to the dot that ends a full name.
std::string plainName(std::string_view name) {
    auto result = Text::lowerCase(name);
    if (result.ends_with('.'))
        result.pop_back();
    return result;
}

} // namespace

bool isNameOfHost(std::string_view name, const HostDefinition& host) {
    const auto wanted = plainName(name);
    if (wanted.empty())
        return false;
    const auto display = plainName(textOf(host.displayName.get()));
    auto names = host.adresses.get().value_or(std::vector<std::string>());
    names.push_back(display);
    names.push_back(plainName(textOf(host.hostName.get())));
    // A display name may carry the port, since the catalogue has no other place for one.
    names.push_back(display.substr(0, display.find(':')));
    names.push_back(display + ".local");
    const auto firstLabel = wanted.substr(0, wanted.find('.'));
    return std::find(names.begin(), names.end(), wanted) != names.end()
        || (!Globals::isIPAddress(wanted) && firstLabel == display);
}

std::string comparableShareName(std::string_view name, bool ignoresCase) {
    const auto plain = Text::withoutOuterSlashes(name);
    return ignoresCase ? Text::foldedCase(plain) : std::string(plain);
}

} // namespace quorrel
