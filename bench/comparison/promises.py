"""What must hold: how much of what others take the library may take, at most."""

from typing import NamedTuple, Optional

from results import OURS, Key

DEQUE = "mutex and deque"
PIPE = "write, poll, read"


class Promise(NamedTuple):
    """In a scenario, ours takes at most this many times what the rival takes, or less than that: 1.5 times, or a third
    for 'three times faster'. The rival is the contender of that name; where there is none, the fastest of that family,
    or whose name begins so. It may be ours of another size."""

    scenario: str
    most: float
    rival: str
    size: Optional[int] = None
    rival_size: Optional[int] = None
    metric: str = "time"
    less: bool = False


# An application has GLib's loop where Qt is built as Debian builds it, and chooses Qt's own by a variable.
QT_WITH_GLIB = "Qt with GLib"
QT_WITHOUT_GLIB = "Qt without GLib"
QTS = (QT_WITH_GLIB, QT_WITHOUT_GLIB)
FAMILIES = {
    QT_WITH_GLIB: lambda name: name.startswith("Qt ") and not name.endswith(", no GLib"),
    QT_WITHOUT_GLIB: lambda name: name.startswith("Qt ") and name.endswith(", no GLib"),
}

IN_PROCESS = ("in-process, one event", "in-process, 1000 events", "in-process, two threads")

PROMISES = [
    Promise(IN_PROCESS[0], 1.6, DEQUE),
    Promise(IN_PROCESS[0], 1.0, "GLib GAsyncQueue"),
    *(Promise(IN_PROCESS[0], 1 / 3, qt) for qt in QTS),
    Promise(IN_PROCESS[1], 1.3, DEQUE),
    *(Promise(IN_PROCESS[1], 1 / 2, qt) for qt in QTS),
    Promise(IN_PROCESS[2], 1.3, DEQUE),
    *(Promise(IN_PROCESS[2], 1 / 2, qt) for qt in QTS),
    Promise("pipe queue, one event", 1.15, PIPE),
    Promise("key press", 1.5, PIPE),
    Promise("wake-up, one core", 1.2, "bare pipe", metric="p50"),
    *(Promise("wake-up, one core", 1.0, qt, metric="p50") for qt in QTS),
    Promise("actions waiting", 2.0, DEQUE, size=1),
    Promise("actions waiting", 2.0, DEQUE, size=1000),
    Promise("actions waiting", 2.0, DEQUE, size=100000),
    *(Promise("actions waiting", 1.0, rival, size=size, less=True)
      for rival in ("Asio", *QTS) for size in (1000, 100000)),
    Promise("chain of actions", 6.0, DEQUE, size=1000),
    Promise("chain of actions", 2.5, OURS, size=100000, rival_size=1000),
    Promise("name of an event type", 1.3, "table indexed by number"),
]


class Outcome(NamedTuple):
    """The ratio is None when one of the two was not measured."""

    promise: Promise
    rival: str
    ratio: Optional[float]

    def holds(self):
        if self.ratio is None:
            return False
        return self.ratio < self.promise.most if self.promise.less else self.ratio <= self.promise.most


def judge(promise, results):
    size = promise.rival_size or promise.size
    medians = {key.contender: summary.median for key, summary in results.items()
               if (key.scenario, key.size, key.metric) == (promise.scenario, size, promise.metric)}
    rival = find_rival(promise.rival, medians)
    ours = results.get(Key(promise.scenario, OURS, promise.size, promise.metric))
    if rival is None or ours is None:
        return Outcome(promise, promise.rival, None)
    return Outcome(promise, rival, ours.median / medians[rival])


def find_rival(name, medians):
    if name in medians:
        return name
    belongs = FAMILIES.get(name, lambda contender: contender.startswith(name))
    family = [contender for contender in medians if belongs(contender)]
    return min(family, key=medians.get, default=None)


def judge_all(results, promises=None):
    return [judge(promise, results) for promise in promises or PROMISES]


def describe(promise):
    """The promise in words."""
    place = promise.scenario if promise.size is None else f"{promise.scenario}, {promise.size:,}"
    if promise.metric != "time":
        place += f", {promise.metric}"
    rival = promise.rival if promise.rival_size is None else f"{promise.rival} with {promise.rival_size:,}"
    if promise.most < 1:
        return f"{place}: at least {1 / promise.most:.3g} times as fast as {rival}"
    if promise.most == 1:
        return f"{place}: {'faster' if promise.less else 'not slower'} than {rival}"
    return f"{place}: at most {promise.most:.3g} times what {rival} takes"


def describe_ratio(outcome):
    if outcome.ratio is None:
        return "not measured"
    if outcome.promise.most < 1:
        text = f"{1 / outcome.ratio:.2f} times as fast"
    else:
        text = f"{outcome.ratio:.2f} times"
    return text if outcome.rival == outcome.promise.rival else f"{text} ({outcome.rival})"


def describe_verdict(outcome):
    if outcome.ratio is None:
        return "-"
    return "holds" if outcome.holds() else "DOES NOT HOLD"
