// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QAction;

namespace quorrel {

/// What stands in place of a list that has nothing to show: why, what to do next, and a button that does it.
class EmptyPage final : public QWidget {
public:
    /// The action may be null: no button. It must outlive the page.
    EmptyPage(const QString& title, const QString& text, QAction* action, QWidget* parent = nullptr);
};

} // namespace quorrel
