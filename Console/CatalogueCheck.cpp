// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/CatalogueCheck.h"

#include "Console/DisplayText.h"
#include "Platform/PropertyListFile.h"

namespace quorrel {

std::optional<std::string> CatalogueCheck::complaint(PropertyListFile& files, const std::string& folder) {
    using Outcome = PropertyListReadResult::Outcome;
    const auto path = folder + "/Quorrel2.plist";
    auto read = files.read(path);
    if (read.root && !std::holds_alternative<PropertyValue::Array>(read.root->variant()))
        read.reason = "It holds no list of hosts";
    else if (read.outcome != Outcome::Malformed && read.outcome != Outcome::Unreadable)
        return std::nullopt;
    return "the catalogue " + DisplayText::printable(path) + " cannot be read: " + DisplayText::printable(read.reason);
}

} // namespace quorrel
