"""The results as pictures."""

import pathlib

import matplotlib

matplotlib.use("Agg")

# pylint: disable=wrong-import-position # this one looks which way of drawing was chosen
from matplotlib import pyplot, ticker

from .report import HEADINGS, format_value
from .results import GROWTH, OURS, group, latencies

SETTINGS = {"svg.hashsalt": "KXAPI_Events",  # the same results, the same file
            "svg.fonttype": "none",  # a fifth of the size
            "font.size": 9, "axes.spines.top": False, "axes.spines.right": False, "axes.titlesize": 10,
            "axes.titleweight": "bold", "axes.titlelocation": "left", "legend.frameon": False}
COLORS = {"ours": "#d1495b", "limit": "#9aa5b1", "Asio": "#6a994e", "Qt postEvent, no GLib": "#2b5d8b"}
PEER_COLOR = "#5b8db8"
BARS = {"queues.svg": ("in-process, one event", "in-process, 1000 events", "in-process, two threads",
                       "pipe queue, one event", "key press"),
        "actions.svg": ("actions waiting", "chain of actions", "name of an event type")}
CURVES = {"growth-time.svg": ("time", "processor"), "growth-memory.svg": ("memory", "heap")}
SIZES = {"waiting": "how many wait", "chain": "length of the chain", "threads": "threads that post",
         "keypad": "keys in use"}
COLUMNS, LONGEST_EVEN_AXIS, A_WIDE_RANGE = 3, 16, 10  # beyond these axes, a step is ten times as much
BARS_TIMES_OURS = 5  # longer bars are cut off; their numbers stand beside them


def draw_all(folder, results):
    with matplotlib.rc_context(SETTINGS):
        for name, scenarios in BARS.items():
            panels = [panel for scenario in scenarios for panel in group(results, scenario, "time", "size")]
            draw_grid(folder, name, panels, draw_bars, lambda panel: 0.9 + 0.22 * len(panel))
        scenarios = dict.fromkeys(key.scenario for key in results)
        panels = [latencies(results, scenario) for scenario in scenarios]
        draw_grid(folder, "wake-up.svg", [panel for panel in panels if panel], draw_latencies)
        for name, metrics in CURVES.items():
            panels = [group(results, scenario, metric, "contender") for metric in metrics for scenario in scenarios
                      if scenario.startswith(GROWTH)]
            draw_grid(folder, name, [panel for panel in panels if panel], draw_curves)


def draw_grid(folder, name, panels, draw, height=lambda panel: 3.4):
    """A picture with a part for each panel; none where nothing was measured that it would show, not even an old one."""
    path = pathlib.Path(folder, name)
    path.unlink(missing_ok=True)
    if not panels:
        return
    columns = min(COLUMNS, len(panels))
    heights = [max(map(height, panels[first:first + columns])) for first in range(0, len(panels), columns)]
    figure, grid = pyplot.subplots(len(heights), columns, figsize=(4.6 * columns, sum(heights)), squeeze=False,
                                   gridspec_kw={"height_ratios": heights})
    for axes in grid.flat[len(panels):]:
        axes.set_visible(False)
    for axes, panel in zip(grid.flat, panels):
        draw(axes, panel)
    figure.tight_layout(w_pad=2, h_pad=2)
    figure.savefig(path, metadata={"Date": None})
    pyplot.close(figure)


def draw_rows(axes, keys, lengths, height):
    """A bar for each contender, the first one on top."""
    axes.barh(range(len(keys)), lengths, color=[COLORS.get(key.group, PEER_COLOR) for key in keys], height=height)
    axes.set_yticks(range(len(keys)), [key.contender for key in keys])
    axes.tick_params(axis="y", length=0)
    axes.spines["left"].set_visible(False)
    axes.invert_yaxis()
    for label in axes.get_yticklabels():
        label.set_fontweight("bold" if label.get_text() == OURS else "normal")
    axes.set_title(f"{keys[0].scenario}, {keys[0].size:,}" if keys[0].size else keys[0].scenario)


def draw_bars(axes, panel):
    keys, summaries = zip(*sorted(panel, key=lambda pair: pair[1].median))
    longest = min([summaries[-1].median] + [BARS_TIMES_OURS * summary.median for key, summary in panel
                                            if key.contender == OURS])
    draw_rows(axes, keys, [min(summary.median, longest) for summary in summaries], 0.72)
    for row, (median, *_) in enumerate(summaries):
        text = ("» " if median > longest else "") + format_value(median, "time")
        axes.text(min(median, longest) + 0.02 * longest, row, text, va="center")
    axes.set_xlim(0, 1.35 * longest)
    axes.xaxis.set_visible(False)
    axes.spines["bottom"].set_visible(False)


def draw_latencies(axes, rows):
    """A bar to p50, and a line from there to p99, which ends at the border where that is further."""
    border = 3 * max(p50 for _, p50, _ in rows)
    draw_rows(axes, [key for key, _, _ in rows], [p50 for _, p50, _ in rows], 0.6)
    for row, (key, p50, p99) in enumerate(rows):
        color = COLORS.get(key.group, PEER_COLOR)
        axes.plot([p50, min(p99, border)], [row, row], color=color, linewidth=1.5)
        axes.plot([p99], [row], "|", color=color, markersize=8)
        axes.text(1.02 * border, row, f"{format_value(p50, 'p50')} / {format_value(p99, 'p99')}", va="center")
    axes.set_xlim(0, border)
    axes.xaxis.set_major_formatter(lambda value, _: f"{value / 1000:g} µs")
    axes.xaxis.set_major_locator(ticker.MaxNLocator(3))
    axes.text(1.02 * border, -0.8, "p50 (bar) / p99 (line)", va="center", fontsize=8)


def draw_curves(axes, curves):
    for curve in curves:
        key, sizes = curve[0][0], [key.size for key, _ in curve]
        medians, lower, upper, _ = zip(*(summary for _, summary in curve))
        color = COLORS.get(key.contender, COLORS.get(key.group, PEER_COLOR))
        style = "--" if key.group == "ours" and key.contender != OURS else "-"
        axes.plot(sizes, medians, style, marker="o", markersize=3, color=color, label=key.contender)
        axes.fill_between(sizes, lower, upper, color=color, alpha=0.15, linewidth=0)
    key = curves[0][0][0]
    scale_curves(axes, key.metric, *zip(*(pair for curve in curves for pair in curve)))
    of_process = f", {HEADINGS[key.metric]}" if key.metric in ("processor", "heap") else ""
    axes.set_title(key.scenario.replace(GROWTH, "", 1) + of_process)
    axes.set_xlabel(next((measure for word, measure in SIZES.items() if word in key.scenario), ""))
    # Below, where it hides no curve.
    axes.legend(fontsize=8, loc="upper center", bbox_to_anchor=(0.5, -0.18), ncol=2)


def scale_curves(axes, metric, keys, summaries):
    sizes = sorted({key.size for key in keys})
    medians, _, upper, _ = zip(*summaries)
    if sizes[-1] <= LONGEST_EVEN_AXIS:
        axes.set_xticks(sizes)
    else:
        axes.set_xscale("log")
        axes.xaxis.set_major_formatter(ticker.EngFormatter(sep=""))  # 1k, 1M
    if metric == "memory" and max(medians) > A_WIDE_RANGE * min(medians) > A_WIDE_RANGE:
        axes.set_yscale("log")
    else:
        axes.set_ylim(0, 1.08 * max(upper))
    axes.yaxis.set_major_formatter(lambda value, _: format_value(value, metric) if value else "0")
    axes.grid(axis="y", color="#e6e6e6", linewidth=0.6)
    axes.set_axisbelow(True)
