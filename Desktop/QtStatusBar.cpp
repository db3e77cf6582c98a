// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/QtStatusBar.h"

#include "Desktop/QtStatusItem.h"

#include <string>
#include <utility>

namespace quorrel {

QtStatusBar::QtStatusBar(TrayHostWatch& hosts, ActionTarget& actions, const ImageLoader& images)
    : m_hosts(hosts)
    , m_actions(actions)
    , m_images(images) { }

std::unique_ptr<StatusItem> QtStatusBar::statusItemWithLength(double) {
    if (m_prepared)
        return std::move(m_prepared);
    return std::make_unique<QtStatusItem>(m_hosts, m_actions, m_images);
}

void QtStatusBar::prepareItem(const Image& image) {
    m_prepared = std::make_unique<QtStatusItem>(m_hosts, m_actions, m_images);
    m_prepared->setImage(image);
    m_prepared->setMenu(std::make_shared<Menu>(std::string()));
}

} // namespace quorrel
