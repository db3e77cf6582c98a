// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/ChildProcess.h"
#include "Sources/NameLookup.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

class LookupAhead;
class LookupOperation;

/// The look-ups that were begun ahead for one piece of work. Main thread only.
class Rehearsal final {
public:
    /// REQUIRES: it does not outlive what it is made with.
    explicit Rehearsal(LookupAhead& ahead)
        : m_ahead(ahead) { }

    /// Whether all of these are over. Begins those that were not begun before.
    [[nodiscard]] bool covers(const std::vector<NameLookup>& lookups);
    /// What a tool said that was run so; absent where none was, or is not over.
    [[nodiscard]] std::optional<ChildProcessResult> answer(
        const std::string& path, const std::vector<std::string>& arguments) const;

private:
    LookupAhead& m_ahead;
    std::map<NameLookup, std::shared_ptr<const LookupOperation>> m_lookups;
};

} // namespace quorrel
