// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

class QWidget;

namespace quorrel {

/// What a widget and those in it write on the screen, each piece as it is drawn: shortened where it is shortened.
[[nodiscard]] QStringList paintedTexts(QWidget& widget);

} // namespace quorrel
