# SPDX-License-Identifier: GPL-3.0-or-later
"""Draws what stands on a terminal, as letters: sharp in every size."""

from xml.sax.saxutils import escape, quoteattr

_SIZE, _LINE, _MARGIN, _TOP = 14, 20, 16, 54
_BLANK = "\u00a0"  # of plain ones, some viewers leave one in a row
# Of the font's height; where the viewer has another font, textLength keeps the columns.
_WIDTH = 0.602
_COMMAND, _HEADING, _TEXT = "#61afef", "#abb2bf", "#dcdfe4"


def drawn(lines, title):
    columns = max(len(line) for line in lines)
    width = round(2 * _MARGIN + columns * _SIZE * _WIDTH)
    height = _TOP + (len(lines) - 1) * _LINE + _MARGIN
    picture = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}" '
        f'role="img" aria-label={quoteattr(title)}>',
        f'  <rect width="{width}" height="{height}" rx="8" fill="#1e2127"/>',
        '  <circle cx="20" cy="18" r="6" fill="#e06c75"/><circle cx="40" cy="18" r="6" fill="#e5c07b"/>'
        '<circle cx="60" cy="18" r="6" fill="#98c379"/>',
        f'  <g font-family="DejaVu Sans Mono, Menlo, Consolas, monospace" font-size="{_SIZE}" xml:space="preserve" '
        'style="white-space: pre">',
    ]
    for number, line in enumerate(lines):
        line = line.rstrip()
        if not line:
            continue
        color = _COMMAND if line.startswith("$ ") else _HEADING if line.startswith("HOST ") else _TEXT
        bold = ' font-weight="bold"' if color == _HEADING else ""
        length = round(len(line) * _SIZE * _WIDTH)
        picture.append(f'    <text x="{_MARGIN}" y="{_TOP + number * _LINE}" fill="{color}"{bold} '
                       f'textLength="{length}" lengthAdjust="spacingAndGlyphs">{escape(line.replace(" ", _BLANK))}</text>')
    return "\n".join([*picture, "  </g>", "</svg>", ""])
