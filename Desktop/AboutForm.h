// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

class QVBoxLayout;

namespace quorrel {

class ImageLoader;
struct AboutPanelOptions;
struct DesktopEnvironment;

/// What the about panel shows: who the program is, and its whole licence for those who ask. Main thread.
class AboutForm final : public QDialog {
public:
    /// All are borrowed for the call.
    AboutForm(const DesktopEnvironment& environment, const ImageLoader& images, const AboutPanelOptions& options);

private:
    void addFacts(QVBoxLayout& layout, const ImageLoader& images, const AboutPanelOptions& options);
    void addLicence(QVBoxLayout& layout, const DesktopEnvironment& environment);
};

} // namespace quorrel
