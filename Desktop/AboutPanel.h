// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QPointer>

namespace quorrel {

class ImageLoader;
struct AboutPanelOptions;
struct DesktopEnvironment;

/// The one panel that tells what the program is. Main thread. It is made when it is shown and gone when it is closed.
class AboutPanel final {
public:
    /// Both must outlive the panel.
    AboutPanel(const DesktopEnvironment& environment, const ImageLoader& images);
    AboutPanel(const AboutPanel&) = delete;
    AboutPanel& operator=(const AboutPanel&) = delete;
    ~AboutPanel();

    /// A panel that is there already only comes to the front.
    void show(const AboutPanelOptions& options);

    /// Null while there is none.
    [[nodiscard]] QDialog* window() const { return m_window; }

private:
    const DesktopEnvironment& m_environment;
    const ImageLoader& m_images;
    QPointer<QDialog> m_window;
};

} // namespace quorrel
