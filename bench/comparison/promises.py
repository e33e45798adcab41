"""What must hold: how much of what others take the library may take."""

from collections import namedtuple

from .results import OURS

DEQUE, PIPE = "mutex and deque", "write, poll, read"
# An application has GLib's loop where Qt is built as Debian builds it, and chooses Qt's own by a variable.
WITH_GLIB, WITHOUT_GLIB = "Qt with GLib", "Qt without GLib"


# In a scenario, ours takes at most this many times what the rival takes, or less than that. The rival is a contender,
# which may be ours of another size, or the fastest of a group.
Promise = namedtuple("Promise", "scenario most rival size rival_size metric less", defaults=(0, 0, "time", False))
Outcome = namedtuple("Outcome", "promise rival ratio holds", defaults=(None, False))  # no ratio: one was not measured
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


def judge(promise, results):
    def medians(size, name):
        return [(summary.median, key.contender) for key, summary in results.items()
                if (key.scenario, key.size, key.metric) == (promise.scenario, size, promise.metric)
                and name in (key.contender, key.group)]

    ours = medians(promise.size, OURS)
    rivals = medians(promise.rival_size or promise.size, promise.rival)
    if not ours or not rivals:
        return Outcome(promise, promise.rival)
    median, rival = min(rivals)
    ratio = ours[0][0] / median
    return Outcome(promise, rival, ratio, ratio < promise.most or (ratio == promise.most and not promise.less))


def describe(outcome):
    """The promise, the ratio and the verdict in words."""
    promise, rival, ratio, holds = outcome
    words = promise.scenario + (f", {promise.size:,}" if promise.size else "")
    words += f", {promise.metric}: " if promise.metric != "time" else ": "
    whom = promise.rival + (f" with {promise.rival_size:,}" if promise.rival_size else "")
    if promise.most < 1:
        words += f"at least {1 / promise.most:.3g} times as fast as {whom}"
    else:
        words += f"faster than {whom}" if promise.less else f"at most {promise.most:.3g} times what {whom} takes"
    if ratio is None:
        return words, "not measured", "-"
    measured = f"{1 / ratio:.2f} times as fast" if promise.most < 1 else f"{ratio:.2f} times"
    measured += "" if rival == promise.rival else f" ({rival})"
    return words, measured, "holds" if holds else "DOES NOT HOLD"
