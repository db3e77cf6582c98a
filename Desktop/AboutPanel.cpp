// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AboutPanel.h"

#include "Desktop/AboutForm.h"
#include "Desktop/WindowPlacement.h"

namespace quorrel {

AboutPanel::AboutPanel(const DesktopEnvironment& environment, const ImageLoader& images)
    : m_environment(environment)
    , m_images(images) { }

AboutPanel::~AboutPanel() {
    delete m_window.data();
}

void AboutPanel::show(const AboutPanelOptions& options) {
    if (!m_window) {
        m_window = new AboutForm(m_environment, m_images, options);
        m_window->setAttribute(Qt::WA_DeleteOnClose);
        WindowPlacement::center(*m_window);
    }
    WindowPlacement::bringToFront(*m_window);
    m_window->activateWindow();
}

} // namespace quorrel
