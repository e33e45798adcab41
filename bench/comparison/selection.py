"""What of the results is drawn where."""

from typing import NamedTuple, Optional

from results import GROWTH

LIMITS = {"mutex and deque", "unlocked ring", "write, poll, read", "bare pipe", "bare pipe, asked first",
          "bare pipe, poll", "table indexed by number"}
MEASURES = {"waiting": "how many wait", "chain": "length of the chain", "threads": "threads that post",
            "keypad": "keys in use"}

BARS = {
    "queues.svg": ("in-process, one event", "in-process, 1000 events", "in-process, two threads",
                   "pipe queue, one event", "key press"),
    "actions.svg": ("actions waiting", "chain of actions", "name of an event type"),
}
LATENCIES = ("wake-up, one core", "wake-up, two cores")
CURVES = {"growth-time.svg": ("time", "processor"), "growth-memory.svg": ("memory", "heap")}
OF_THE_PROCESS = ("processor", "heap")  # and not for one item
ORDER = [*BARS["queues.svg"], *LATENCIES, *BARS["actions.svg"], GROWTH + "events waiting",
         GROWTH + "events waiting in a pipe", GROWTH + "actions waiting", GROWTH + "chain of actions"]


class Panel(NamedTuple):
    """Contenders and their medians, the smallest first."""

    title: str
    metric: str
    bars: list


class Curve(NamedTuple):
    """Of one contender: the sizes, and of each the median and the quartiles."""

    name: str
    sizes: list
    summaries: list


def in_order(results):
    """The same results in an order that does not depend on which contender's turn came first."""
    def rank(key):
        known = ORDER.index(key.scenario) if key.scenario in ORDER else len(ORDER)
        return known, key.scenario, key.contender, key.size or 0, key.metric
    return {key: results[key] for key in sorted(results, key=rank)}


def kind(contender):
    if contender.startswith("KXAPI"):
        return "ours"
    return "limit" if contender in LIMITS else "peer"


def panels(results, scenarios):
    """One for each scenario and size that was measured."""
    found = []
    for scenario in scenarios:
        keys = [key for key in results if key.scenario == scenario and key.metric == "time"]
        for size in sorted({key.size for key in keys}, key=lambda size: size or 0):
            bars = [(key.contender, results[key].median) for key in keys if key.size == size]
            found.append(Panel(title(scenario, size), "time", sorted(bars, key=lambda bar: bar[1])))
    return found


def title(scenario, size: Optional[int]):
    return scenario if size is None else f"{scenario}, {size:,}"


def latencies(results, scenario):
    """Contenders with both percentiles, the one with the best median first."""
    found = {}
    for key, summary in results.items():
        if key.scenario == scenario and key.metric in ("p50", "p99"):
            found.setdefault(key.contender, {})[key.metric] = summary.median
    both = [(name, value["p50"], value["p99"]) for name, value in found.items() if len(value) == 2]
    return sorted(both, key=lambda item: item[1])


def growing_scenarios(results, metric):
    return list(dict.fromkeys(key.scenario for key in results
                              if key.scenario.startswith(GROWTH) and key.metric == metric))


def measure_of(scenario):
    """What grows."""
    return next((measure for word, measure in MEASURES.items() if word in scenario), "")


def curves(results, scenario, metric):
    """Ours come first."""
    found = {}
    for key in sorted((key for key in results if (key.scenario, key.metric) == (scenario, metric)),
                      key=lambda key: key.size or 0):
        curve = found.setdefault(key.contender, Curve(key.contender, [], []))
        curve.sizes.append(key.size)
        curve.summaries.append(results[key])
    return sorted(found.values(), key=lambda curve: (kind(curve.name) != "ours", curve.name))
