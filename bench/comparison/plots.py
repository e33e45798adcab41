"""The results as pictures."""

import os

import matplotlib

matplotlib.use("Agg")

# pylint: disable=wrong-import-position # this one looks which way of drawing was chosen
from matplotlib import pyplot, ticker

import selection
from report import HEADINGS, format_value
from results import GROWTH, OURS

SETTINGS = {
    "svg.hashsalt": "KXAPI_Events",  # the same results, the same file
    "svg.fonttype": "none",  # a fifth of the size
    "font.size": 9,
    "axes.spines.top": False,
    "axes.spines.right": False,
    "axes.titlesize": 10,
    "axes.titleweight": "bold",
    "axes.titlelocation": "left",
    "legend.frameon": False,
    "figure.facecolor": "white",
}
COLORS = {"ours": "#d1495b", "limit": "#9aa5b1", "peer": "#5b8db8"}
CURVE_COLORS = {"Asio": "#6a994e", "Qt postEvent": "#5b8db8", "Qt postEvent, no GLib": "#2b5d8b"}
COLUMNS = 3
LONGEST_EVEN_AXIS = 16  # beyond, a step is ten times as much
A_WIDE_RANGE = 10  # for memory, which no even axis shows
BARS_TIMES_OURS = 5  # longer bars are cut off; their numbers stand beside them


def draw_all(folder, results):
    with matplotlib.rc_context(SETTINGS):
        for name, scenarios in selection.BARS.items():
            draw_grid(folder, name, selection.panels(results, scenarios), draw_bars, bars_height)
        draw_grid(folder, "wake-up.svg", [(scenario, rows) for scenario in selection.LATENCIES
                                          if (rows := selection.latencies(results, scenario))], draw_latencies)
        for name, metrics in selection.CURVES.items():
            panels = [(scenario, metric, selection.curves(results, scenario, metric)) for metric in metrics
                      for scenario in selection.growing_scenarios(results, metric)]
            draw_grid(folder, name, panels, draw_curves)


def draw_grid(folder, name, panels, draw, height=lambda panel: 3.4):
    """A picture with a part for each panel; none where nothing was measured that it would show, not even an old one."""
    path = os.path.join(folder, name)
    if not panels:
        if os.path.exists(path):
            os.remove(path)
        return
    columns = min(COLUMNS, len(panels))
    rows = -(-len(panels) // columns)
    heights = [max(height(panel) for panel in panels[row * columns:(row + 1) * columns]) for row in range(rows)]
    figure, grid = pyplot.subplots(rows, columns, figsize=(4.6 * columns, sum(heights)), squeeze=False,
                                   gridspec_kw={"height_ratios": heights})
    for axes in grid.flat[len(panels):]:
        axes.set_visible(False)
    for axes, panel in zip(grid.flat, panels):
        draw(axes, panel)
    figure.tight_layout(w_pad=2, h_pad=2)
    figure.savefig(path, metadata={"Date": None})
    pyplot.close(figure)


def name_rows(axes, names):
    """The contenders as rows, the first one on top."""
    axes.set_yticks(range(len(names)))
    axes.set_yticklabels(names)
    axes.tick_params(axis="y", length=0)
    axes.spines["left"].set_visible(False)
    axes.invert_yaxis()
    for label in axes.get_yticklabels():
        if label.get_text() == OURS:
            label.set_fontweight("bold")


def bars_height(panel):
    """As much for each contender, and the same for the title in all panels."""
    return 0.9 + 0.22 * len(panel.bars)


def draw_bars(axes, panel):
    ours = [value for name, value in panel.bars if name == OURS]
    longest = max(value for _, value in panel.bars)
    if ours:
        longest = min(longest, BARS_TIMES_OURS * ours[0])
    for row, (name, value) in enumerate(panel.bars):
        length = min(value, longest)
        axes.barh(row, length, color=COLORS[selection.kind(name)], height=0.72)
        mark = "» " if value > longest else ""
        axes.text(length + 0.02 * longest, row, mark + format_value(value, panel.metric), va="center")
    name_rows(axes, [name for name, _ in panel.bars])
    axes.set_xlim(0, 1.35 * longest)
    axes.xaxis.set_visible(False)
    axes.spines["bottom"].set_visible(False)
    axes.set_title(panel.title)


def draw_latencies(axes, panel):
    """A bar to p50, and a line from there to p99, which ends at the border where that is further."""
    scenario, rows = panel
    border = 3 * max(p50 for _, p50, _ in rows)
    for row, (name, p50, p99) in enumerate(rows):
        color = COLORS[selection.kind(name)]
        axes.barh(row, p50, color=color, height=0.6)
        axes.plot([p50, min(p99, border)], [row, row], color=color, linewidth=1.5)
        axes.plot([p99], [row], "|", color=color, markersize=8)
        axes.text(1.02 * border, row, f"{format_value(p50, 'p50')} / {format_value(p99, 'p99')}", va="center")
    name_rows(axes, [name for name, _, _ in rows])
    axes.set_xlim(0, border)
    axes.xaxis.set_major_formatter(lambda value, _: f"{value / 1000:g} µs")
    axes.xaxis.set_major_locator(ticker.MaxNLocator(3))
    axes.text(1.02 * border, -0.8, "p50 (bar) / p99 (line)", va="center", fontsize=8)
    axes.set_title(scenario)


def draw_curves(axes, panel):
    scenario, metric, curves = panel
    for curve in curves:
        which = selection.kind(curve.name)
        color = CURVE_COLORS.get(curve.name, COLORS[which])
        style = "-" if curve.name == OURS or which != "ours" else "--"
        medians = [summary.median for summary in curve.summaries]
        axes.plot(curve.sizes, medians, style, marker="o", markersize=3, color=color, label=curve.name)
        axes.fill_between(curve.sizes, [summary.lower for summary in curve.summaries],
                          [summary.upper for summary in curve.summaries], color=color, alpha=0.15, linewidth=0)
    scale_curves(axes, metric, curves)
    title = scenario.replace(GROWTH, "", 1)
    axes.set_title(f"{title}, {HEADINGS[metric]}" if metric in selection.OF_THE_PROCESS else title)
    axes.set_xlabel(selection.measure_of(scenario))
    # Below, where it hides no curve.
    axes.legend(fontsize=8, loc="upper center", bbox_to_anchor=(0.5, -0.18), ncol=2)


def format_size(number):
    for unit, name in ((1e6, "M"), (1e3, "k")):
        if number >= unit:
            return f"{number / unit:.0f}{name}"
    return f"{number:.0f}"


def scale_curves(axes, metric, curves):
    sizes = sorted({size for curve in curves for size in curve.sizes})
    values = [summary.median for curve in curves for summary in curve.summaries]
    if sizes[-1] <= LONGEST_EVEN_AXIS:
        axes.set_xticks(sizes)
    else:
        axes.set_xscale("log")
        axes.xaxis.set_major_formatter(lambda value, _: format_size(value))
    if metric == "memory" and max(values) > A_WIDE_RANGE * min(values) > A_WIDE_RANGE:
        axes.set_yscale("log")
    else:
        axes.set_ylim(0, 1.08 * max(summary.upper for curve in curves for summary in curve.summaries))
    axes.yaxis.set_major_formatter(lambda value, _: format_value(value, metric) if value else "0")
    axes.grid(axis="y", color="#e6e6e6", linewidth=0.6)
    axes.set_axisbelow(True)
