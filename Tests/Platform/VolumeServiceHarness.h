// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/VolumeService.h"

#include <memory>

namespace quorrel {

/// What the contract test of the volume service needs to know of an implementation's surroundings.
class VolumeServiceHarness {
public:
    virtual ~VolumeServiceHarness() = default;

    [[nodiscard]] virtual VolumeService& service() = 0;
    /// One of several shares that can be mounted.
    [[nodiscard]] virtual MountRequest share(int number) = 0;
    [[nodiscard]] virtual MountRequest unknownShare() = 0;
    [[nodiscard]] virtual MountRequest wrongPassword() = 0;
    [[nodiscard]] virtual MountRequest unreachableServer() = 0;
    /// Accepts and never answers.
    [[nodiscard]] virtual MountRequest silentServer() = 0;
    /// Silent until `letAnswer`; a mount of it is then to succeed.
    [[nodiscard]] virtual MountRequest lateServer() = 0;
    virtual void letAnswer() = 0;
    /// Blocks until so many mounts wait for a server; false when that did not come about.
    [[nodiscard]] virtual bool waitForWaiting(int count) = 0;
};

/// Defined once in each test program: for the fake and for the real one.
[[nodiscard]] std::unique_ptr<VolumeServiceHarness> makeVolumeServiceHarness();

} // namespace quorrel
