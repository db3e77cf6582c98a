// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Rehearsal.h"

#include "Sources/LookupAhead.h"
#include "Sources/LookupOperation.h"

namespace quorrel {

bool Rehearsal::covers(const std::vector<NameLookup>& lookups) {
    bool areOver = true;
    for (const auto& lookup : lookups) {
        auto& operation = m_lookups[lookup];
        if (!operation)
            operation = m_ahead.begin(lookup);
        areOver = operation->isOver() && areOver;
    }
    return areOver;
}

std::optional<ChildProcessResult> Rehearsal::answer(
    const std::string& path, const std::vector<std::string>& arguments) const {
    for (const auto& [lookup, operation] : m_lookups)
        if (operation->isOver())
            if (auto answer = operation->answer(path, arguments))
                return answer;
    return std::nullopt;
}

} // namespace quorrel
