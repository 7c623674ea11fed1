# SPDX-License-Identifier: Apache-2.0
"""Charts as SVG that follow the reader's light or dark colour scheme.

Colours are written as attributes of the elements, which any viewer shows; STYLE, which a page or a file has once, changes
them where the reader prefers dark. Curves carry their labels at their right ends.
"""

import io
import re
from dataclasses import dataclass
from xml.sax.saxutils import quoteattr

import matplotlib

matplotlib.use("svg")

import matplotlib.pyplot as plt
import numpy as np
from matplotlib.ticker import FuncFormatter, MultipleLocator, NullFormatter, NullLocator

PAPER, INK, GRID = "#fefefe", "#222222", "#dddddd"
LEFT, RIGHT, THIRD, FOURTH, FIFTH = "#0067b0", "#c8500a", "#00795a", "#8a3fa0", "#8a6d00"
LIMIT, REFERENCE, FAINT = "#b3002d", "#555555", "#a8b4c0"
SERIES = (LEFT, RIGHT, THIRD, FOURTH, FIFTH)
DARK = {
    PAPER: "#16181c", INK: "#e4e4e4", GRID: "#3a3d44", LEFT: "#5cb3f5", RIGHT: "#ff9a5c", THIRD: "#3fd0a4",
    FOURTH: "#d49be6", FIFTH: "#d8bd55", LIMIT: "#ff7b93", REFERENCE: "#b0b0b0", FAINT: "#5a6470",
}  # fmt: skip
STYLE = (
    "<style>@media (prefers-color-scheme: dark) {"
    + "".join(f'[fill="{light}"]{{fill:{dark}}}[stroke="{light}"]{{stroke:{dark}}}' for light, dark in DARK.items())
    + "}</style>"
)

FONT_POINTS = 10.0
LABEL_POINTS = 9.0
CROWDED_POINTS = 6.5  # of labels where there are many
CROWD = 10
CHARACTER = 0.6  # mean width of a character against its size
HALF, WIDE = (6.0, 3.7), (12.0, 3.9)  # inches
DASHES = (4.0, 3.0)
OCTAVE_TICKS_HZ = (20, 50, 100, 200, 500, 1000, 2000, 5000, 10000, 20000)

plt.rcParams.update({
    "svg.fonttype": "none", "font.family": "sans-serif", "font.sans-serif": ["DejaVu Sans"],
    "font.size": FONT_POINTS, "axes.titlesize": FONT_POINTS + 1.0,
    "axes.edgecolor": REFERENCE, "axes.labelcolor": INK, "axes.titlecolor": INK, "text.color": INK,
    "xtick.color": REFERENCE, "ytick.color": REFERENCE, "xtick.labelcolor": INK, "ytick.labelcolor": INK,
    "axes.facecolor": "none", "figure.facecolor": PAPER, "axes.unicode_minus": False, "legend.frameon": False,
    "path.simplify": True, "path.simplify_threshold": 0.2,
})  # fmt: skip


@dataclass(frozen=True)
class Axis:
    """Label with its unit, range and distance of the ticks; without one there are none."""

    label: str
    low: float
    high: float
    tick: float | None = None
    logarithmic: bool = False


FREQUENCY = Axis("frequency (Hz)", 100.0, 16000.0, logarithmic=True)


def label_frequencies(axis, low=None, high=None):
    """Gives a matplotlib x axis logarithmic frequencies with plain numbers."""
    axis.set_xscale("log")
    axis.set_xlabel("frequency (Hz)")
    ticks = [hz for hz in OCTAVE_TICKS_HZ if (low or 0.0) <= hz <= (high or np.inf)]
    axis.set_xticks(ticks if len(ticks) < len(OCTAVE_TICKS_HZ) else ticks[0::2])
    axis.xaxis.set_major_formatter(FuncFormatter(lambda hz, _: f"{hz / 1000:g}k" if hz >= 1000 else f"{hz:g}"))
    axis.xaxis.set_minor_formatter(NullFormatter())
    axis.xaxis.set_minor_locator(NullLocator())


class Chart:
    """One chart. Coordinates are those of the axes; what lies beyond them is cut off."""

    def __init__(self, title, x, y, size=HALF):
        self.title, self._x, self._y = title, x, y
        self._figure, self.axes = plt.subplots(figsize=size)
        self._labels = []  # (y, colour, text)
        self.axes.set(title=title, xlabel=x.label, ylabel=y.label, xlim=(x.low, x.high), ylim=(y.low, y.high))
        self.axes.grid(color=GRID, linewidth=0.7)
        self.axes.set_axisbelow(True)
        self.axes.spines[["top", "right"]].set_visible(False)
        for axis, lines in ((x, self.axes.xaxis), (y, self.axes.yaxis)):
            lines.set_major_locator(MultipleLocator(axis.tick) if axis.tick else NullLocator())
        if x.logarithmic:
            label_frequencies(self.axes, x.low, x.high)
            self.axes.set_xlabel(x.label)

    def line(self, x, y, colour, label="", dashed=False, width=1.6):
        x, y = np.asarray(x, float), np.asarray(y, float)
        dashes = {"dashes": DASHES} if dashed else {}
        self.axes.plot(x, y, color=colour, linewidth=width, **dashes)
        if label and len(y):
            colour = REFERENCE if colour == FAINT else colour  # which is too faint for letters
            self._labels.append((y[x <= self._x.high][-1], colour, label))

    def level(self, y, colour, label=""):
        """A line across the chart."""
        self.line([self._x.low, self._x.high], [y, y], colour, label, dashed=True, width=1.2)

    def upright(self, x, colour, label="", top=None):
        """A line from the bottom up to `top`, or through the chart."""
        self.axes.plot([x, x], [self._y.low, self._y.high if top is None else top], color=colour, linewidth=1.2)
        if label:
            self.axes.annotate(label, (x, self._y.high), xytext=(3, -10), textcoords="offset points",
                               color=colour, fontsize=LABEL_POINTS)

    def dots(self, x, y, colour, label=""):
        self.axes.plot(x, y, ".", color=colour, markersize=4.0, label=label or None)

    def bars(self, x, y, colours):
        self.axes.bar(x, y, width=0.55, color=colours)

    def names(self, positions, names):
        """Words for places of the x axis."""
        self.axes.set_xticks(positions, names)
        self.axes.tick_params(axis="x", length=0.0)
        self.axes.grid(False, axis="x")

    def words(self, x, y, text, down=0.0, colour=INK):
        """Centred at a point and moved `down` by points."""
        self.axes.annotate(text, (x, y), xytext=(0.0, -down), textcoords="offset points", ha="center", color=colour,
                           fontsize=LABEL_POINTS)

    def svg(self):
        """The chart as an SVG element; it can be drawn once."""
        size = CROWDED_POINTS if len(self._labels) > CROWD else LABEL_POINTS
        width, height = (72.0 * inches for inches in self._figure.get_size_inches())
        longest = max((len(text) for _, _, text in self._labels), default=0)
        right = 16.0 + CHARACTER * size * longest
        self._figure.subplots_adjust(left=52.0 / width, right=1.0 - right / width, bottom=46.0 / height,
                                     top=1.0 - 30.0 / height)
        self._write_labels(size)
        if self.axes.get_legend_handles_labels()[0]:
            self.axes.legend(loc="upper right", fontsize=LABEL_POINTS, ncols=3)
        text = svg_of(self._figure, self.title)
        plt.close(self._figure)
        return text

    def _write_labels(self, size):
        """At the right ends of the curves, pushed apart where they would meet."""
        pixels = self._figure.get_dpi() / 72.0
        bottom, top = (self.axes.transData.transform((self._x.low, y))[1] / pixels for y in (self._y.low, self._y.high))
        at = lambda y: float(np.clip(self.axes.transData.transform((self._x.low, y))[1] / pixels, bottom, top))
        labels = sorted((at(y), colour, text) for y, colour, text in self._labels if np.isfinite(y))
        places = _apart([place for place, _, _ in labels], 1.15 * size, top)
        for place, (_, colour, text) in zip(places, labels):
            self.axes.annotate(text, (1.0, (place - bottom) / (top - bottom)), xycoords="axes fraction", va="center",
                               xytext=(4.0, 0.0), textcoords="offset points", color=colour, fontsize=size)


def _apart(places, least, top):
    """Ascending places moved up, then down from `top`, until neighbours have `least` between them."""
    moved = list(places)
    for i in range(1, len(moved)):
        moved[i] = max(moved[i], moved[i - 1] + least)
    for i in reversed(range(len(moved))):
        moved[i] = min(moved[i], top if i == len(moved) - 1 else moved[i + 1] - least)
    return moved


def svg_of(figure, name):
    """A matplotlib figure as an SVG element, the same from the same figure; `name` keeps its ids apart from others'."""
    plt.rcParams["svg.hashsalt"] = name
    figure.patch.set_gid("paper")
    file = io.StringIO()
    figure.savefig(file, format="svg", metadata=dict.fromkeys(("Creator", "Date", "Format", "Type")))
    text = file.getvalue()
    text = text[text.index("<svg") :].strip()
    text = text.replace('id="paper"', 'class="paper"')
    text = re.sub(r' id="(?:figure|axes|patch|line2d|text|xtick|ytick|matplotlib\.axis|legend)_\d+"', "", text)
    text = re.sub(r'style="([^"]*)"', _attributes, text)
    return text.replace("<svg ", f'<svg role="img" aria-label={quoteattr(name)} ', 1)


def _attributes(style):
    """A style with the colours that STYLE knows taken out as attributes, which a style sheet may override."""
    attributes, rest = [], []
    for declaration in filter(None, (part.strip() for part in style[1].split(";"))):
        name, _, value = declaration.partition(": ")
        known = name in ("fill", "stroke") and value in DARK
        (attributes if known else rest).append(f'{name}="{value}"' if known else declaration)
    return " ".join(attributes + ([f'style="{"; ".join(rest)}"'] if rest else []))


def sheet(rows):
    """Rows of charts, one beside the other, as one SVG file."""
    parts, width, top = [], 0.0, 0.0
    for row in rows:
        left = height = 0.0
        for chart in row:
            text = chart.svg()
            chart_width, chart_height = (float(size) for size in re.findall(r'(?:width|height)="([\d.]+)pt"', text)[:2])
            text = re.sub(r'((?:width|height)="[\d.]+)pt"', r'\1"', text, count=2)
            parts.append(text.replace("<svg ", f'<svg x="{left:g}" y="{top:g}" ', 1))
            left, height = left + chart_width, max(height, chart_height)
        width, top = max(width, left), top + height
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:g}pt" height="{top:g}pt" viewBox="0 0 {width:g} {top:g}">'
            f"{STYLE}{''.join(parts)}</svg>\n")
