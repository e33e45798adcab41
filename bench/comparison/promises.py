"""What must hold: how much of what others take the library may take."""

from typing import NamedTuple, Optional

from .results import OURS

DEQUE, PIPE = "mutex and deque", "write, poll, read"
# An application has GLib's loop where Qt is built as Debian builds it, and chooses Qt's own by a variable.
WITH_GLIB, WITHOUT_GLIB = "Qt with GLib", "Qt without GLib"


class Promise(NamedTuple):
    """In a scenario, ours takes at most this many times what the rival takes, or less than that. The rival is a
    contender, which may be ours of another size, or the fastest of a group."""

    scenario: str
    most: float
    rival: str
    size: int = 0
    rival_size: int = 0
    metric: str = "time"
    less: bool = False


PROMISES = [
    Promise("in-process, one event", 1.6, DEQUE),
    Promise("in-process, one event", 1.05, "GLib GAsyncQueue"),
    Promise("in-process, one event", 1 / 3, WITH_GLIB),
    Promise("in-process, one event", 1 / 1.5, WITHOUT_GLIB),
    *(Promise(scenario, most, rival) for scenario in ("in-process, 1000 events", "in-process, two threads")
      for rival, most in ((DEQUE, 1.3), (WITH_GLIB, 1 / 2), (WITHOUT_GLIB, 1 / 1.5))),
    Promise("pipe queue, one event", 1.15, PIPE),
    Promise("key press", 1.25, PIPE),
    Promise("wake-up, one core", 1.2, "bare pipe", metric="p50"),
    *(Promise("actions waiting", 2.0, DEQUE, size=size) for size in (1, 1000, 100000)),
    *(Promise("actions waiting", 1.0, rival, size=size, less=True)
      for rival in ("Asio", WITH_GLIB, WITHOUT_GLIB) for size in (1000, 100000)),
    Promise("chain of actions", 6.0, DEQUE, size=1000),
    Promise("chain of actions", 2.5, OURS, size=100000, rival_size=1000),
    Promise("name of an event type", 1.3, "table indexed by number"),
]


class Outcome(NamedTuple):
    promise: Promise
    rival: str
    ratio: Optional[float] = None  # one of the two was not measured

    @property
    def holds(self):
        most, less = self.promise.most, self.promise.less
        return self.ratio is not None and (self.ratio < most if less else self.ratio <= most)


def judge(promise, results):
    def medians(size, *names):
        return [(summary.median, key.contender) for key, summary in results.items()
                if (key.scenario, key.size, key.metric) == (promise.scenario, size, promise.metric)
                and (key.contender in names or key.group in names)]

    ours = medians(promise.size, OURS)
    rivals = medians(promise.rival_size or promise.size, promise.rival)
    if not ours or not rivals:
        return Outcome(promise, promise.rival)
    median, rival = min(rivals)
    return Outcome(promise, rival, ours[0][0] / median)


def judge_all(results):
    return [judge(promise, results) for promise in PROMISES]


def describe(outcome):
    """The promise, the ratio and the verdict in words."""
    promise, rival, ratio = outcome
    place = promise.scenario + (f", {promise.size:,}" if promise.size else "")
    place += f", {promise.metric}" if promise.metric != "time" else ""
    whom = promise.rival + (f" with {promise.rival_size:,}" if promise.rival_size else "")
    if promise.most < 1:
        words = f"at least {1 / promise.most:.3g} times as fast as {whom}"
    elif promise.less:
        words = f"faster than {whom}"
    else:
        words = f"at most {promise.most:.3g} times what {whom} takes"
    if ratio is None:
        return f"{place}: {words}", "not measured", "-"
    measured = f"{1 / ratio:.2f} times as fast" if promise.most < 1 else f"{ratio:.2f} times"
    measured += "" if rival == promise.rival else f" ({rival})"
    return f"{place}: {words}", measured, "holds" if outcome.holds else "DOES NOT HOLD"
