"""Findings of beside_numpy as an SVG drawing: one line for each row, its place tells how many times faster than NumPy."""

import math

ROW_HEIGHT, LABEL_WIDTH, PLOT_WIDTH, TOP, MARGIN = 16, 190, 640, 70, 20  # pixels
LEFTMOST, RIGHTMOST = -1, 7  # powers of two; what lies outside is drawn at the edge
COLOURS = {"float32": "#c1272d", "float64": "#0072b2"}


def _x(ratio):
    position = (min(max(math.log2(ratio), LEFTMOST), RIGHTMOST) - LEFTMOST) / (RIGHTMOST - LEFTMOST)
    return LABEL_WIDTH + position * PLOT_WIDTH


def _text(x, y, content, anchor="start", size=11):
    return f'<text x="{x:.1f}" y="{y}" text-anchor="{anchor}" font-size="{size}">{content}</text>'


def _line(x, first, last, colour, width=1):
    return f'<line x1="{x:.1f}" x2="{x:.1f}" y1="{first}" y2="{last}" stroke="{colour}" stroke-width="{width}"/>'


def chart(rows, goals):
    """The rows that have a goal, those of one function, order and count on one line; a bar stands at the goal."""
    rows = [row for row in rows if row["function"] in goals and row["count"] > 1]
    lines = {}
    for row in sorted(rows, key=lambda row: (list(goals).index(row["function"]), row["order"], row["count"])):
        lines.setdefault((row["function"], row["order"], row["count"]), []).append(row)
    bottom = TOP + ROW_HEIGHT * len(lines)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{LABEL_WIDTH + PLOT_WIDTH + 2 * MARGIN}" height="{bottom + MARGIN}" '
        'font-family="sans-serif">',
        '<rect width="100%" height="100%" fill="white"/>',
        _text(MARGIN, 18, "Times faster than NumPy, stacks of matrices, one thread; grey bars are the goals", size=13),
    ]
    for i, (name, colour) in enumerate(COLOURS.items()):
        parts.append(f'<circle cx="{MARGIN + 80 * i}" cy="34" r="4" fill="{colour}"/>' + _text(MARGIN + 80 * i + 8, 38, name))
    for power in range(LEFTMOST, RIGHTMOST + 1):
        x = _x(2.0**power)
        parts += [_line(x, TOP - 6, bottom, "#000000" if power == 0 else "#dddddd"), _text(x, TOP - 10, f"{2.0**power:g}", "middle")]
    for i, ((function, order, count), findings) in enumerate(lines.items()):
        y = TOP + ROW_HEIGHT * i + ROW_HEIGHT // 2
        parts.append(_text(LABEL_WIDTH - 10, y + 4, f"{function} {order}\u00d7{order}, {count}", "end"))
        parts.append(_line(_x(goals[function]), y - 6, y + 6, "#999999", 3))
        for row in findings:
            ratio = row["numpy"] / row["tarnm"]
            parts.append(f'<circle cx="{_x(ratio):.1f}" cy="{y}" r="4" fill="{COLOURS[row["type"]]}"><title>{row["type"]}: '
                         f'{row["tarnm"]:.1f} ns, NumPy {row["numpy"]:.1f} ns</title></circle>')
    return "\n".join(parts) + "\n</svg>\n"
