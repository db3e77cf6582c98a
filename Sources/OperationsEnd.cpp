// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/OperationsEnd.h"

#include "Foundation/OperationQueue.h"
#include "Foundation/WakeSignal.h"
#include "Platform/VolumeService.h"

#include <memory>

namespace quorrel {

namespace {

constexpr double shareOfSuccess = 0.6; // of the patience; the rest is for giving up in order

bool waitUntilIdle(OperationQueue& queue, Seconds duration) {
    const auto idle = std::make_shared<WakeSignal>();
    const auto subscription = queue.observeIdle([idle] { idle->signal(); });
    return queue.operationCount() == 0 || idle->waitFor(duration);
}

} // namespace

bool endOperations(OperationQueue& queue, VolumeService& volumes, Seconds patience) {
    // First what waits, or it would take the places of what ends.
    queue.cancelAllOperations();
    if (waitUntilIdle(queue, patience * shareOfSuccess))
        return true;
    volumes.interrupt();
    return waitUntilIdle(queue, patience * (1 - shareOfSuccess));
}

} // namespace quorrel
