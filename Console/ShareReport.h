// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Subscription.h"
#include "Sources/ShareEvents.h"

namespace quorrel {

class Output;

/// Writes one line for each new status or error of each share in the catalogue, whenever it came there. Main thread
/// only.
class ShareReport final {
public:
    /// Both must outlive the report. What the catalogue holds now is taken as known.
    ShareReport(ShareEvents& events, Output& output);

    /// Writes what has not been written yet.
    void finish() { m_events.deliverPending(); }

private:
    void write(const ShareEvents::Events& events);

    ShareEvents& m_events;
    Output& m_output;
    Subscription m_subscription;
};

} // namespace quorrel
