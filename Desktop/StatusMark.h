// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QRectF>

class QPainter;
class QPalette;

namespace quorrel {

class SharePointDefinition;

/// What a share point is up to, at a glance. Each has a shape of its own, since not everybody sees colours.
enum class StatusMark { Offline, Busy, Online, Failed };

[[nodiscard]] StatusMark statusMarkOf(const SharePointDefinition& sharePoint);

/// Where the mark stands on a selection, it takes the colour of the text there.
enum class MarkGround { Base, Selection };

/// A ring, three dots, a disc or a triangle, in the middle of the square.
void paintStatusMark(
    QPainter& painter, const QRectF& square, StatusMark mark, const QPalette& palette, MarkGround ground);

} // namespace quorrel
