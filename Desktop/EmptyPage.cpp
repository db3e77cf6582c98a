// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/EmptyPage.h"

#include <QAction>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace quorrel {

namespace {

QLabel* centredLabel(const QString& text, const char* name) {
    auto* label = new QLabel(text);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    return label;
}

QPushButton* buttonFor(QAction& action) {
    auto* button = new QPushButton(action.text());
    button->setObjectName("emptyPageButton");
    QObject::connect(button, &QPushButton::clicked, &action, &QAction::trigger);
    const auto follow = [button, &action] {
        button->setEnabled(action.isEnabled());
        button->setToolTip(action.toolTip());
        button->setAccessibleDescription(action.statusTip());
    };
    QObject::connect(&action, &QAction::changed, button, follow);
    follow();
    return button;
}

} // namespace

EmptyPage::EmptyPage(const QString& title, const QString& text, QAction* action, QWidget* parent)
    : QWidget(parent) {
    auto* heading = centredLabel(title, "emptyPageTitle");
    auto font = heading->font();
    font.setPointSizeF(font.pointSizeF() * 1.25);
    font.setBold(true);
    heading->setFont(font);

    auto* layout = new QVBoxLayout(this);
    layout->addStretch(2);
    layout->addWidget(heading);
    layout->addWidget(centredLabel(text, "emptyPageText"));
    if (action) {
        layout->addSpacing(layout->spacing());
        layout->addWidget(buttonFor(*action), 0, Qt::AlignHCenter);
    }
    layout->addStretch(3); // a little above the middle is where the eye takes the middle to be
}

} // namespace quorrel
