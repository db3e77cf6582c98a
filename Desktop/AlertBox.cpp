// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AlertBox.h"

#include "Desktop/ShownText.h"

#include <QLabel>
#include <QPushButton>

#include <algorithm>
#include <utility>

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
    setWindowTitle(ShownText::line(title));
    setText(windowTitle());
    setInformativeText(ShownText::message(message));
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

void AlertBox::ask(QWidget* parent, const AlertSheet& question, AlertAnswer onClosing, AlertHandler handler) {
    auto* box = new AlertBox(parent, Warning, question.title, question.message);
    auto* accept = box->addButton(QString::fromStdString(question.defaultButton), AcceptRole);
    auto* reject = box->addButton(QString::fromStdString(question.alternateButton), RejectRole);
    accept->setObjectName("defaultButton");
    reject->setObjectName("alternateButton");
    box->setDefaultButton(accept);
    auto* escape = onClosing == AlertAnswer::Default ? accept : reject;
    box->setEscapeButton(escape);
    connect(box, &QMessageBox::finished, box, [box, accept, escape, handler = std::move(handler)] {
        // The window's own button counts as the escape button's click only after this.
        const auto* clicked = box->clickedButton() ? box->clickedButton() : escape;
        if (handler)
            handler(clicked == accept ? AlertAnswer::Default : AlertAnswer::Alternate);
    });
    box->open();
}

} // namespace quorrel
