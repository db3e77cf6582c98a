// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

namespace quorrel {

/// Sees to it that one program at a time keeps the user's catalogue: two that watch and save it would overwrite each
/// other. What was taken is held until the lock's end, or the process's.
class CatalogueLock {
public:
    struct Outcome final {
        enum class Kind {
            Taken,
            Refused, ///< another program has it
            Unavailable ///< there is no lock to be had here, for anybody
        };
        Kind kind = Kind::Taken;
        std::optional<long> holder {}; ///< the process that has it, if that is known
        std::string reason {}; ///< why there is none
    };

    virtual ~CatalogueLock() = default;

    /// Never waits. Taking what is taken already changes nothing.
    [[nodiscard]] virtual Outcome take() = 0;
};

} // namespace quorrel
