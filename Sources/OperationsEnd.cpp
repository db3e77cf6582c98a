// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/OperationsEnd.h"

#include "Foundation/OperationQueue.h"
#include "Platform/VolumeService.h"

namespace quorrel {

namespace {

constexpr double shareOfSuccess = 0.6; // of the patience; the rest is for giving up in order

} // namespace

bool endOperations(OperationQueue& queue, VolumeService& volumes, Seconds patience) {
    // First what waits, or it would take the places of what ends.
    queue.cancelAllOperations();
    if (queue.waitUntilIdle(patience * shareOfSuccess))
        return true;
    volumes.interrupt();
    return queue.waitUntilIdle(patience * (1 - shareOfSuccess));
}

} // namespace quorrel
