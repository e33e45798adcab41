"""Mutants made by hand, and the list of those that behave like the original."""

import re
from dataclasses import dataclass, replace

from entries import BadEntry, read_entries
from operators import all_mutants


@dataclass(frozen=True)
class MutantByHand:
    """Like operators.Mutant, but made of whole lines."""

    file: str
    operator: str  # its name
    text: str  # of the whole mutated source
    line_number: int
    line: str
    is_about_threads: bool

    @property
    def is_only_about_threads(self):
        return self.is_about_threads

    def apply(self, _text):
        return self.text


def read_by_hand(path, read_source):
    """The mutants of the file, which may change several places of one source."""
    mutants = {}
    for entry in read_entries(path, ["name", "kind", "file", "find", "put"]):
        name, file = entry["name"], entry["file"]
        if entry["kind"] not in ("threads", "plain"):
            raise BadEntry(f"{entry['place']}: the kind is threads or plain")
        earlier = mutants.get(name)
        if earlier and earlier.file != file:
            raise BadEntry(f"{entry['place']}: the mutant '{name}' changes another file, too")
        text = earlier.text if earlier else read_source(file)
        # Whole lines, whatever their indentation, so that an entry reads like the source.
        begin, end = _find_lines(text, entry["find"], entry["place"], file)
        put = "" if entry["put"] == "nothing" else entry["put"] + "\n"
        number = text.count("\n", 0, begin) + 1
        changed = text[:begin] + put + text[end:]
        if earlier:
            mutants[name] = replace(earlier, text=changed)
        else:
            mutants[name] = MutantByHand(file, name, changed, number, entry["find"].splitlines()[0].strip(),
                                         entry["kind"] == "threads")
    return list(mutants.values())


def _find_lines(text, wanted, place, file):
    lines = text.splitlines(keepends=True)
    stripped = [line.strip() for line in lines]
    searched = [line.strip() for line in wanted.splitlines()]
    found = [at for at in range(len(lines)) if stripped[at:at + len(searched)] == searched]
    if len(found) != 1:
        raise BadEntry(f"{place}: these lines stand {len(found)} times in {file}, not once:\n{wanted}")
    begin = sum(map(len, lines[:found[0]]))
    return begin, begin + sum(map(len, lines[found[0]:found[0] + len(searched)]))


def read_equivalent(path, sources):
    """The keys of mutants that no test can tell from the original. Each entry has to fit one."""
    keys, mutants = set(), {}
    for entry in read_entries(path, ["file", "operator", "line", "becomes", "reason"]):
        file = entry["file"]
        if file not in mutants:
            mutants[file] = [_key(mutant) for mutant in all_mutants(file, sources.get(file, ""))]
        key = (file, entry["operator"], entry["line"].strip(), entry["becomes"])
        if not any(_fits(key, mutant) for mutant in mutants[file]):
            raise BadEntry(f"{entry['place']}: no mutant of {file} fits this entry")
        keys.add(key)
    return keys


def _key(mutant):
    return mutant.file, mutant.operator, mutant.line, getattr(mutant, "replacement", "")


def _fits(key, mutant):
    return (key[:2] == mutant[:2] and _without_comment(key[2]) == _without_comment(mutant[2])
            and _plain(key[3]) == _plain(mutant[3]))


def _without_comment(line):
    return re.sub(r"\s*//.*", "", line)


def _plain(text):
    return " ".join(text.split())


def is_equivalent(mutant, keys):
    return any(_fits(key, _key(mutant)) for key in keys)
