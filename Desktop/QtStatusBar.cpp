// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/QtStatusBar.h"

#include "Desktop/QtStatusItem.h"

namespace quorrel {

QtStatusBar::QtStatusBar(TrayHostWatch& hosts, ActionTarget& actions, const ImageLoader& images)
    : m_hosts(hosts)
    , m_actions(actions)
    , m_images(images) { }

std::unique_ptr<StatusItem> QtStatusBar::statusItemWithLength(double) {
    return std::make_unique<QtStatusItem>(m_hosts, m_actions, m_images);
}

} // namespace quorrel
