// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Platform/VolumeWatch.h"

#include <functional>
#include <memory>
#include <string>

namespace quorrel {

/// Where the contract of the volume watch is put to the test: a computer on which another program mounts Windows
/// shares, and the loop that drives it. Each executable that holds the contract's tests brings one.
class VolumeWatchWorld {
public:
    virtual ~VolumeWatchWorld() = default;

    [[nodiscard]] static std::unique_ptr<VolumeWatchWorld> make();

    [[nodiscard]] virtual VolumeWatch& watch() = 0;
    /// A share of that number, from 1 on; whether it worked. Reports may come meanwhile.
    [[nodiscard]] virtual bool mount(int number) = 0;
    [[nodiscard]] virtual bool unmount(int number) = 0;
    [[nodiscard]] virtual std::string nameOf(int number) const = 0;
    /// Runs the loop until the condition holds, which it looks at after each turn; false when so much time went by.
    [[nodiscard]] virtual bool runUntil(const std::function<bool()>& condition, Seconds limit) = 0;
};

} // namespace quorrel
