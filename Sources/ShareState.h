// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace quorrel {

class SharePointDefinition;

/// How a share is, in a word that stays the same in every language.
class ShareState final {
public:
    enum class Kind { Unmounted, Resolving, Mounting, Mounted, Unmounting, Failed };

    ShareState() = delete;

    /// Any thread. Failed is one that is not mounted and has an error to tell.
    [[nodiscard]] static Kind of(const SharePointDefinition& sharePoint);
    /// "unmounted", "resolving", "mounting", "mounted", "unmounting" or "failed".
    [[nodiscard]] static std::string_view word(Kind kind);
};

} // namespace quorrel
