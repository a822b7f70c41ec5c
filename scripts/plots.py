#!/usr/bin/env python3
"""The plots of docs/performance.md, from what `bench` prints.

plots.py PEERS_JSON GROWTH_JSON FOLDER    writes FOLDER/peers.svg and FOLDER/growth.svg

PEERS_JSON is the output of `bench --peers`, GROWTH_JSON that of `bench --growth`.
"""
import argparse
import html
import json
import math
import os

WIDTH, HEIGHT = 480, 380  # of a panel
LEFT, RIGHT, TOP, BOTTOM = 64, 148, 44, 48  # its margins; the lines' names stand on the right
COLOURS = {"orange": "#c2570c", "blue": "#1d5fa8", "green": "#1b7a3d", "purple": "#7a3b9a", "grey": "#555555"}
LABEL_GAP = 13  # between the names of two lines


class Axis:
    """A scale from values to a range of pixels, with its ticks."""

    def __init__(self, values, low, high, logarithmic):
        self.low, self.high, self.logarithmic = low, high, logarithmic
        if logarithmic:
            self.first = 10 ** math.floor(math.log10(min(values)))
            self.last = 10 ** math.ceil(math.log10(max(values)))
            self.ticks = [10 ** n for n in range(round(math.log10(self.first)), round(math.log10(self.last)) + 1)]
        else:
            step = 10 ** math.floor(math.log10(max(values)))
            step = next(step * part for part in (0.2, 0.5, 1, 2) if max(values) / (step * part) <= 6)
            self.first, self.last = 0, step * math.ceil(max(values) / step)
            self.ticks = [step * n for n in range(round(self.last / step) + 1)]

    def pixel(self, value):
        if self.logarithmic:
            part = math.log(value / self.first) / math.log(self.last / self.first)
        else:
            part = (value - self.first) / (self.last - self.first)
        return self.low + part * (self.high - self.low)


def text(x, y, words, anchor="start", colour="#222222", extra=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" fill="{colour}"{extra}>{html.escape(words)}</text>'


def line(x1, y1, x2, y2, colour):
    return f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}"/>'


def spread(places):
    """Moves rising places apart until neighbours leave room for a line's name, all of them above the x axis."""
    for n in range(1, len(places)):
        places[n] = max(places[n], places[n - 1] + LABEL_GAP)
    limit = HEIGHT - BOTTOM
    for n in reversed(range(len(places))):
        places[n] = min(places[n], limit)
        limit = places[n] - LABEL_GAP
    return places


def panel(title, x_label, y_label, lines, x_log=True, y_log=True):
    """lines: (name or "", colour, dashed, [(x, y), ...])"""
    x_axis = Axis([x for *_, points in lines for x, _ in points], LEFT, WIDTH - RIGHT, x_log)
    y_axis = Axis([y for *_, points in lines for _, y in points], HEIGHT - BOTTOM, TOP, y_log)
    parts = [text(LEFT, 20, title, extra=' font-weight="bold"'),
             text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 10, x_label, "middle"),
             text(LEFT, TOP - 9, y_label)]
    for tick in x_axis.ticks:
        x = x_axis.pixel(tick)
        parts += [line(x, TOP, x, HEIGHT - BOTTOM, "#e4e4e4"), text(x, HEIGHT - BOTTOM + 16, f"{tick:,.0f}", "middle")]
    for tick in y_axis.ticks:
        y = y_axis.pixel(tick)
        parts += [line(LEFT, y, WIDTH - RIGHT, y, "#e4e4e4"), text(LEFT - 7, y + 4, f"{tick:,.0f}", "end")]
    names = []
    for name, colour, dashed, points in lines:
        places = [(x_axis.pixel(x), y_axis.pixel(y)) for x, y in points]
        dash = ' stroke-dasharray="6 4"' if dashed else ""
        parts.append(f'<polyline fill="none" stroke="{COLOURS[colour]}" stroke-width="2"{dash} points="'
                     + " ".join(f"{x:.1f},{y:.1f}" for x, y in places) + '"/>')
        parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="2.5" fill="{COLOURS[colour]}"/>' for x, y in places]
        if name:
            names.append((places[-1][1], name, colour))
    names.sort()
    for place, (_, name, colour) in zip(spread([y for y, *_ in names]), names):
        parts.append(text(WIDTH - RIGHT + 8, place + 4, name, colour=COLOURS[colour]))
    return "\n".join(parts)


def document(panels):
    groups = "\n".join(f'<g transform="translate({n * WIDTH} 0)">\n{one}\n</g>' for n, one in enumerate(panels))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH * len(panels)} {HEIGHT}" '
            f'width="{WIDTH * len(panels)}" height="{HEIGHT}" font-family="sans-serif" font-size="12">\n'
            f'<rect width="100%" height="100%" fill="white"/>\n{groups}\n</svg>\n')


WAYS = [("an entry a port", "entryPerPort", "orange", False), ("a bitmap in each", "portBitmap", "grey", False)]


def peers(cases):
    shared = [case for case in cases if case["portSets"] == "shared"]
    rows = [case for case in shared if case["chip"] == "sdk6-64" and case["entries"] == 100]
    row_lines = [(name, colour, dashed, [(case["ports"], case[way]["rows"]) for case in rows])
                 for name, way, colour, dashed in WAYS + [("class IDs", "classIds", "blue", False)]]

    def joins(chip, way):
        return [(case["entries"], case[way]["join"]["writes"]) for case in shared
                if case["chip"] == chip and case["ports"] == 64]

    join_lines = [(name, colour, dashed, joins("sdk6-64", way)) for name, way, colour, dashed in WAYS]
    join_lines += [("class IDs", "blue", False, joins("sdk6-64", "classIds")),
                   ("class IDs (*)", "purple", False, joins("sdk6-64", "classIdsInstalledAgain")),
                   ("class IDs, HSDK-1024", "blue", True, joins("hsdk-1024", "classIds"))]
    return document([panel("TCAM rows of 100 entries with one port set", "ports in the set (SDK6, 510-port chip)", "rows",
                           row_lines),
                     panel("Chip writes when a port joins a set of 64", "entries with that port set; (*) by installing them again", "writes",
                           join_lines)])


def growth(rows):
    # Lines that lie on each other get one name.
    def lines(by, ports, operations, unit):
        return [(f"{name}, {variant.upper()}" if ports == "new" else name if variant == "sdk6" else "", colour, variant == "hsdk",
                 [(row[by], row[field] / unit) for row in rows
                  if row["by"] == by and row["variant"] == variant and row["ports"] == ports])
                for name, field, colour in operations for variant in ("sdk6", "hsdk")]

    install, remove = ("install", "installNanoseconds", "blue"), ("remove", "removeNanoseconds", "orange")
    look_up = ("look-up", "lookUpNanoseconds", "green")
    return document([panel("By entries: a known port set", "entries of the group (dashed: HSDK)", "nanoseconds (median)",
                           lines("entries", "known", [install, remove, look_up], 1)),
                     panel("By requests: a known port set", "requests of the group (dashed: HSDK)", "microseconds (median)",
                           lines("requests", "known", [install, remove, look_up], 1000), x_log=False, y_log=False),
                     panel("By requests: a new port set", "requests of the group", "microseconds (median)",
                           lines("requests", "new", [install, remove], 1000), x_log=False, y_log=False)])


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("peers")
    arguments.add_argument("growth")
    arguments.add_argument("folder")
    options = arguments.parse_args()
    for name, file, draw in (("peers.svg", options.peers, peers), ("growth.svg", options.growth, growth)):
        with open(file) as source, open(os.path.join(options.folder, name), "w") as target:
            target.write(draw(json.load(source)))


if __name__ == "__main__":
    main()
