// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AlertBox.h"

#include <QLabel>

#include <algorithm>

namespace quorrel {

namespace {

constexpr int textWidth = 40; // characters

} // namespace

AlertBox::AlertBox(QWidget* parent, Icon icon, const std::string& title, const std::string& message)
    : QMessageBox(parent) {
    setObjectName("alert");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(parent ? Qt::WindowModal : Qt::NonModal);
    setIcon(icon);
    setTextFormat(Qt::PlainText); // names may look like markup
    // Some desktops show a window that is modal for another without its title bar.
    setWindowTitle(QString::fromStdString(title));
    setText(windowTitle());
    setInformativeText(QString::fromStdString(message));
    if (auto* heading = findChild<QLabel*>("qt_msgbox_label")) {
        auto font = heading->font();
        font.setBold(true);
        heading->setFont(font);
    }
    // As narrow as its title, a message would stand in a column of single words.
    if (auto* text = findChild<QLabel*>("qt_msgbox_informativelabel")) {
        text->setTextFormat(Qt::PlainText);
        const auto metrics = text->fontMetrics();
        const int longestLine = metrics.boundingRect(QRect(), 0, informativeText()).width();
        text->setMinimumWidth(std::min(longestLine, metrics.averageCharWidth() * textWidth));
    }
}

} // namespace quorrel
