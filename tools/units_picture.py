"""Draws the units and their dependencies as an SVG picture, for docs/architecture.md."""

ROW, BOX_WIDTH, BOX_HEIGHT, COLUMN, MARGIN = 64, 150, 34, 190, 20
STYLE = """
  text { font: 14px sans-serif; fill: #1f2933; text-anchor: middle; }
  rect { fill: #e8f0f7; stroke: #5b7c99; stroke-width: 1.2; }
  path { fill: none; stroke: #8a9baa; stroke-width: 1.4; marker-end: url(#head); }
  marker path { fill: #8a9baa; stroke: none; marker-end: none; }
"""


def direct(edges, units):
    """Returns the edges that no longer path implies; they still show which unit reaches which."""
    below = {unit: {used for user, used in edges if user == unit} for unit in units}
    reach = {}
    for unit in units:
        reach[unit] = below[unit].union(*(reach[used] for used in below[unit]))
    return [(user, used) for user, used in sorted(edges, key=lambda edge: [units.index(unit) for unit in edge])
            if not any(used in reach[via] for via in below[user] - {used})]


def levels(edges, units):
    """Returns the level of each unit, counted from the top: one more than the lowest unit that uses it."""
    level = {}
    for unit in reversed(units):
        level[unit] = max((level[user] + 1 for user, used in edges if used == unit), default=0)
    return level


def middle_out(row, span):
    """Returns the row with the units of the shortest arrows in the middle, so that long arrows run at the sides."""
    arranged = []
    for place, unit in enumerate(sorted(row, key=lambda unit: span[unit])):
        arranged.insert(0 if place % 2 else len(arranged), unit)
    return arranged


def places(edges, units):
    """Returns the centre of each unit's box. The units of one level share a row."""
    level = levels(edges, units)
    span = {unit: max((level[used] - level[unit] for user, used in edges if user == unit), default=0)
            for unit in units}
    rows = [middle_out([unit for unit in units if level[unit] == down], span)
            for down in range(max(level.values()) + 1)]
    width = max(len(row) for row in rows) * COLUMN + 2 * MARGIN
    where = {}
    for down, row in enumerate(rows):
        for column, unit in enumerate(row):
            x = width / 2 + (column - (len(row) - 1) / 2) * COLUMN
            where[unit] = (x, MARGIN + ROW * down + ROW / 2)
    return where, width, len(rows) * ROW + 2 * MARGIN


def arrow(start, end):
    """Returns a line from the bottom of one box, straight down to the row above the other, then over to its top."""
    (x0, y0), (x1, y1) = start, end
    y0, y1 = y0 + BOX_HEIGHT / 2, y1 - BOX_HEIGHT / 2 - 7
    turn = y1 - (ROW - BOX_HEIGHT - 7)
    return f'<path d="M{x0:g} {y0:g} V{turn:g} C{x0:g} {y1:g} {x1:g} {turn:g} {x1:g} {y1:g}"/>'


def box(unit, place):
    """Returns a unit's box with its name."""
    x, y = place
    return (f'<rect x="{x - BOX_WIDTH / 2:g}" y="{y - BOX_HEIGHT / 2:g}" width="{BOX_WIDTH}" height="{BOX_HEIGHT}" '
            f'rx="6"/>\n<text x="{x:g}" y="{y:g}" dy=".35em">{unit}</text>')


def draw(edges, order):
    """Returns the picture of the units that have edges, as SVG text."""
    units = [unit for unit in order if any(unit in edge for edge in edges)]
    drawn = direct(edges, units)
    where, width, height = places(drawn, units)
    head = ('<marker id="head" viewBox="0 0 8 8" refX="1" refY="4" markerWidth="7" markerHeight="7" orient="auto">'
            '<path d="M0 0 L8 4 L0 8 z"/></marker>')
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width:g} {height:g}" width="{width:g}">',
        f"<style>{STYLE}</style>", f"<defs>{head}</defs>", '<rect width="100%" height="100%" style="fill:#fff;stroke:none"/>',
        *(arrow(where[user], where[used]) for user, used in drawn),
        *(box(unit, where[unit]) for unit in units), "</svg>", ""])
