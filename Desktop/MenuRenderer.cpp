// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/MenuRenderer.h"

#include <QMetaObject>
#include <QTimer>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace quorrel {

namespace {

/// Some milliseconds.
constexpr std::size_t rowsOfATurn = 500;

} // namespace

MenuRenderer::MenuRenderer(QMenu& menu, std::shared_ptr<Menu> model, MenuLabel::Drawer drawer, ActionTarget& actions,
    const ImageLoader& images)
    : m_model(std::move(model))
    , m_rendered(std::make_unique<RenderedMenu>(
          menu, m_model->title(), MenuRendering { drawer, actions, images, m_below, m_turn }))
    , m_subscription(m_model->observe([this] { renderSoon(); })) {
    render();
}

MenuRenderer::~MenuRenderer() = default;

void MenuRenderer::renderSoon() {
    if (std::exchange(m_isPending, true))
        return;
    const auto renderNow = [this] {
        m_isPending = false;
        render();
    };
    QMetaObject::invokeMethod(&m_turn, renderNow, Qt::QueuedConnection);
}

void MenuRenderer::render() {
    // What was left of the former model may be gone in a moment.
    m_below.clear();
    m_rendered->show(m_model->items());
    goOn();
}

void MenuRenderer::goOn() {
    for (std::size_t rows = 0; !m_below.empty() && rows < rowsOfATurn;) {
        const auto [menu, model] = m_below.front();
        m_below.pop_front();
        rows += std::max<std::size_t>(menu->show(model->items()), 1);
    }
    // A timer, since a queued call would have its turn before any other event.
    if (!m_below.empty() && !m_isGoingOn) {
        m_isGoingOn = true;
        QTimer::singleShot(0, &m_turn, [this] {
            m_isGoingOn = false;
            goOn();
        });
    }
}

} // namespace quorrel
