// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareReport.h"

#include "Console/ShareRow.h"
#include "Sources/HostDefinition.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/SharePointDefinition.h"

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace quorrel {

ShareReport::ShareReport(QuorrelAppDelegate& controller, MainThreadQueue& mainThreadQueue, Output& output)
    : m_controller(controller)
    , m_mainThreadQueue(mainThreadQueue)
    , m_output(output) {
    follow();
    // Hosts and their lists of shares change on the main thread alone.
    m_hostsSubscription = controller.observe("hosts", [this](std::string_view, Change change) {
        if (change == Change::Did)
            follow();
    });
}

void ShareReport::finish() {
    m_watch->deliverPending();
}

void ShareReport::follow() {
    if (m_watch)
        m_watch->deliverPending();
    std::unordered_map<const SharePointDefinition*, LiveView::Line> written;
    for (std::size_t index = 0; index < m_sharePoints.size(); ++index)
        written.emplace(m_sharePoints[index].get(), m_view->lines()[index]);

    m_hostSubscriptions.clear();
    m_watch.reset();
    m_sharePoints.clear();
    for (const auto& host : m_controller.hosts.snapshot()) {
        m_hostSubscriptions.push_back(host->observe("sharePoints", [this](std::string_view, Change change) {
            if (change == Change::Did)
                follow();
        }));
        for (const auto& sharePoint : host->sharePoints.snapshot())
            m_sharePoints.push_back(sharePoint);
    }
    // First the watch, then what it starts from, or a change between the two would be lost.
    m_watch
        = std::make_unique<ShareWatch>(m_sharePoints, m_mainThreadQueue, [this](const ShareWatch::Changes& changes) {
              for (const auto& change : changes)
                  m_view->change(change.index, change.status, change.error);
          });
    std::vector<LiveView::Line> lines;
    std::vector<ShareRow> rows;
    for (const auto& sharePoint : m_sharePoints) {
        const auto& row = rows.emplace_back(ShareRow::of(*sharePoint, {}));
        const auto known = written.find(sharePoint.get());
        lines.push_back(known != written.end()
                ? LiveView::Line { row.name(), known->second.status, known->second.error }
                : LiveView::Line { row.name(), row.status, row.error });
    }
    m_view.emplace(m_output, std::move(lines), LiveView::Style::LineByLine);
    for (std::size_t index = 0; index < rows.size(); ++index)
        m_view->change(index, rows[index].status, rows[index].error);
}

} // namespace quorrel
