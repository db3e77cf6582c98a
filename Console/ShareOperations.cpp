// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareOperations.h"

#include "Console/InterruptGuard.h"
#include "Console/ShareRow.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/OperationQueue.h"
#include "Platform/RunLoop.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/ShareEvents.h"
#include "Sources/SharePointDefinition.h"

#include <unordered_map>

namespace quorrel {

namespace {

std::vector<LiveView::Line> linesFor(const ShareOperations::SharePoints& sharePoints) {
    std::vector<LiveView::Line> lines;
    for (const auto& sharePoint : sharePoints) {
        const auto row = ShareRow::of(*sharePoint, {});
        lines.push_back({ row.name(), row.status, row.error });
    }
    return lines;
}

} // namespace

ShareOperations::ShareOperations(
    QuorrelAppDelegate& controller, MainThreadQueue& mainThreadQueue, RunLoop& runLoop, const InterruptGuard& guard)
    : m_controller(controller)
    , m_mainThreadQueue(mainThreadQueue)
    , m_runLoop(runLoop)
    , m_guard(guard) { }

void ShareOperations::run(Kind kind, const SharePoints& sharePoints, Output* progress) {
    m_kind = kind;
    m_sharePoints = sharePoints;
    m_started = 0;
    if (progress != nullptr)
        m_view.emplace(*progress, linesFor(sharePoints));

    std::unordered_map<const SharePointDefinition*, std::size_t> lines;
    for (std::size_t index = 0; index < m_sharePoints.size(); ++index)
        lines.emplace(m_sharePoints[index].get(), index);
    ShareEvents feed(m_controller, m_controller.hosts, m_mainThreadQueue);
    const auto events = feed.observe([&](const ShareEvents::Events& all) {
        if (!m_view || m_guard.isInterrupted())
            return;
        for (const auto& event : all)
            if (const auto line = lines.find(event.sharePoint.get()); line != lines.end())
                m_view->change(line->second, event.status, event.error);
        m_view->refresh();
    });
    const auto idle = m_controller.opQueue().observeIdle([this] { post(&ShareOperations::endIfDone); });
    const auto emptied = m_controller.workLine().observeEmptied([this] { post(&ShareOperations::endIfDone); });
    if (m_view)
        m_view->refresh();
    post(&ShareOperations::startNext);
    m_runLoop.run();

    // What the last operation leaves behind may be the text of a step, such as "Unmounting" after a refusal.
    for (const auto& sharePoint : m_sharePoints)
        if (!m_guard.isInterrupted())
            sharePoint->resetStatus();
    feed.deliverPending();
    if (!m_guard.isInterrupted())
        stepAside();
}

void ShareOperations::stepAside() {
    if (m_view)
        m_view->clear();
}

void ShareOperations::post(void (ShareOperations::*step)()) {
    m_mainThreadQueue.post([weak = std::weak_ptr(m_self), step] {
        if (const auto self = weak.lock())
            ((*self)->*step)();
    });
}

void ShareOperations::startNext() {
    // One at a time, since a start may ask for a password and so block this thread: what happened to the shares before
    // is shown in between.
    if (m_started < m_sharePoints.size() && !m_guard.isInterrupted()) {
        const auto sharePoint = m_sharePoints[m_started++];
        start(sharePoint);
        post(&ShareOperations::startNext);
        return;
    }
    m_started = m_sharePoints.size();
    endIfDone();
}

void ShareOperations::start(const std::shared_ptr<SharePointDefinition>& sharePoint) {
    if (m_kind == Kind::Unmount) {
        m_controller.unmount(sharePoint);
        return;
    }
    sharePoint->manualMount.set(true);
    m_controller.mountSharePoint(sharePoint);
}

void ShareOperations::endIfDone() {
    if (m_started == m_sharePoints.size() && m_controller.workLine().isEmpty()
        && m_controller.opQueue().operationCount() == 0)
        m_runLoop.quit();
}

} // namespace quorrel
