"""The chart: each figure that has a floor, as multiples of that floor, with its target."""

import math
from xml.sax.saxutils import escape

LEFT, RIGHT, LINE, MARGIN, SCALE = 430, 90, 24, 16, 420  # pixels
TEXT = "font-family=\"'DejaVu Sans', Helvetica, Arial, sans-serif\" font-size=\"13\""
INK, QUIET, BAR, BAD = "#24292f", "#6e7781", "#54aeff", "#fa8c5a"
TICKS = (0.25, 0.5, 1, 2, 4, 8, 16, 32, 64, 128, 256)


class Axis:
    """A logarithmic one, from a tick below the least value to one above the highest."""

    def __init__(self, values):
        self.low = max(tick for tick in TICKS if tick <= max(min(values), TICKS[0]))
        self.high = min(tick for tick in TICKS if tick >= min(max(values), TICKS[-1]))
        if self.high == self.low:
            self.high *= 2

    def place(self, value):
        share = math.log(max(value, self.low) / self.low) / math.log(self.high / self.low)
        return LEFT + SCALE * min(share, 1)

    def ticks(self):
        return [tick for tick in TICKS if self.low <= tick <= self.high]


def draw(rows):
    """The SVG's text, or None without a figure that has a floor."""
    rows = [row for row in rows if row.ratio]
    if not rows:
        return None
    goals = [goal for row in rows for goal in (row.most, row.least) if goal]
    axis = Axis([1, *goals, *(row.ratio for row in rows)])
    bottom = 2 * LINE + LINE * len(rows)
    width, height = LEFT + SCALE + RIGHT, bottom + LINE + MARGIN
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}">',
             f'<rect width="{width}" height="{height}" fill="#ffffff"/>',
             words(MARGIN, LINE, "Multiples of the floor, the least that the same work can cost; the mark is the target", QUIET)]
    parts += [part for tick in axis.ticks() for part in grid(axis.place(tick), tick, bottom)]
    parts += [part for number, row in enumerate(rows) for part in bar(axis, row, LINE + MARGIN + LINE * number)]
    return "\n".join([*parts, "</svg>", ""])


def grid(x, tick, bottom):
    colour = INK if tick == 1 else "#d0d7de"
    yield f'<line x1="{x:.1f}" x2="{x:.1f}" y1="{LINE + MARGIN / 2}" y2="{bottom}" stroke="{colour}"/>'
    yield words(x, bottom + LINE * 0.7, f"{tick:g}", QUIET, "middle")


def bar(axis, row, y):
    """From the floor to the median; shorter than the floor if the figure is."""
    begin, end = sorted((axis.place(1), axis.place(row.ratio)))
    yield words(LEFT - 8, y + LINE * 0.6, f"{row.name}", INK, "end")
    yield (f'<rect x="{begin:.1f}" y="{y + 4}" width="{max(end - begin, 1):.1f}" height="{LINE - 8}" '
           f'fill="{BAD if row.met is False else BAR}"/>')
    for goal in (row.most, row.least):
        if goal:
            yield f'<line x1="{axis.place(goal):.1f}" x2="{axis.place(goal):.1f}" y1="{y}" y2="{y + LINE}" stroke="{INK}" stroke-width="2.5"/>'
    yield words(LEFT + SCALE + 12, y + LINE * 0.6, f"{row.ratio:.2f} ×", INK)


def words(x, y, text, colour, anchor="start"):
    return f'<text x="{x:.1f}" y="{y:.1f}" fill="{colour}" text-anchor="{anchor}" {TEXT}>{escape(text)}</text>'
