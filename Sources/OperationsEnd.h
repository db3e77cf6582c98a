// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

namespace quorrel {

class OperationQueue;
class VolumeService;

/// How long a signal lets the program end in order, whatever hangs: who sends one wants it gone within a second.
inline constexpr Seconds signalPatience { 0.7 };

/// For a program that ends: cancels what waits and what runs, gives a mount that is about to succeed the time for it,
/// and has the volume service give up the rest. Blocks for no longer than the patience; whether nothing is left. Any
/// thread but the queue's own.
///
/// A mount that is broken off leaves a back end of the session behind which later mounts of the share would join, and
/// with which they would wait in vain.
[[nodiscard]] bool endOperations(OperationQueue& queue, VolumeService& volumes, Seconds patience);

} // namespace quorrel
