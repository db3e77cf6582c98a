// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareReport.h"

#include "Console/LiveView.h"
#include "Console/Output.h"
#include "Console/ShareRow.h"

namespace quorrel {

ShareReport::ShareReport(ShareEvents& events, Output& output)
    : m_events(events)
    , m_output(output)
    , m_subscription(events.observe([this](const ShareEvents::Events& all) { write(all); })) { }

void ShareReport::write(const ShareEvents::Events& events) {
    for (const auto& event : events)
        if (event.isNews)
            m_output.write(
                LiveView::text({ ShareRow::of(*event.sharePoint, {}).name(), event.status, event.error }) + '\n');
}

} // namespace quorrel
