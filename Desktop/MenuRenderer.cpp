// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/MenuRenderer.h"

#include "Desktop/RenderedMenu.h"

#include <QMetaObject>

#include <utility>

namespace quorrel {

MenuRenderer::MenuRenderer(QMenu& menu, std::shared_ptr<Menu> model, MenuLabel::Drawer drawer, ActionTarget& actions,
    const ImageLoader& images)
    : m_model(std::move(model))
    , m_rendered(
          std::make_unique<RenderedMenu>(menu, m_model->title(), MenuRendering { drawer, actions, images, m_turn }))
    , m_subscription(m_model->observe([this] { renderSoon(); })) {
    m_rendered->show(m_model->items());
}

MenuRenderer::~MenuRenderer() = default;

void MenuRenderer::renderSoon() {
    if (std::exchange(m_isPending, true))
        return;
    const auto render = [this] {
        m_isPending = false;
        m_rendered->show(m_model->items());
    };
    QMetaObject::invokeMethod(&m_turn, render, Qt::QueuedConnection);
}

} // namespace quorrel
