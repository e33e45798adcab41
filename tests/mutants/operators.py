"""Finds the places where a source can be changed a little, and the changes: its mutants.

The operators know C++ only as text that clang-format has laid out. Some mutants therefore do not compile; the caller
takes the next one instead.
"""

import functools
import hashlib
import re
from dataclasses import dataclass

# A mutant with one of these in its lines is about threads.
THREADS = re.compile(r"[Mm]utex|\b[Ll]ock\b|[a-z]Lock\b|_lock|lock_|guard|notify|wait|\.load\(|\.store\(|atomic|"
                     r"compare_exchange|exchange\(|fetch_|publish|condition|stopThread")


@dataclass(frozen=True)
class Mutant:
    file: str
    operator: str
    begin: int
    end: int
    replacement: str
    line_number: int
    line: str  # without indentation

    @property
    def is_about_threads(self):
        return self.is_only_about_threads or bool(THREADS.search(self.line))

    @property
    def is_only_about_threads(self):
        return self.operator in ("lock", "publication")

    def apply(self, text):
        return text[:self.begin] + self.replacement + text[self.end:]


def mask(text):
    """The text with comments, literals and directives blanked out, every other character in its place."""
    def blank(match):
        found = match[0]
        if found[0] in "\"'":
            return found[0] + "_" * (len(found) - 2) + found[0]
        return re.sub(r"[^\n]", " ", found)
    return re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'|^[ \t]*#(?:\\\n|[^\n])*',
                  blank, text, flags=re.DOTALL | re.MULTILINE)


def all_mutants(file, text):
    """All mutants of a source, in its order."""
    code = mask(text)
    found = []
    for operator, find in OPERATORS:
        for begin, end, replacement in find(code, text):
            start = text.rfind("\n", 0, begin) + 1
            line = text[start:text.find("\n", begin)].strip()
            if "static_assert" not in line:
                found.append(Mutant(file, operator, begin, end, replacement, text.count("\n", 0, begin) + 1, line))
    return sorted(found, key=lambda mutant: (mutant.begin, mutant.operator, mutant.replacement))


def in_even_order(mutants):
    """The same mutants, the operators in turn. The order looks random, but depends on nothing but the lines."""
    by_operator = {}
    for index, mutant in enumerate(mutants):
        by_operator.setdefault(mutant.operator, []).append((lot(mutant.operator, mutant.line, index), mutant))
    if not mutants:
        return []
    turns = sorted(by_operator, key=lambda operator: lot(mutants[0].file, operator))
    queues = [sorted(by_operator[operator], key=lambda pair: pair[0]) for operator in turns]
    ordered = []
    while any(queues):
        for queue in queues:
            if queue:
                ordered.append(queue.pop(0)[1])
    return ordered


def lot(*parts):
    return hashlib.sha256("\0".join(map(str, parts)).encode()).hexdigest()


def _exchange(pattern, others):
    """Finds PATTERN, whose first group is an operator with blanks around it, and puts another one in its place."""
    def find(code, _text):
        for match in re.finditer(pattern, code):
            yield match.start(1), match.end(1), others[match[1]]
    return find


def _constants(code, _text):
    for match in re.finditer(r"(?<![\w.'])(0[xX][0-9A-Fa-f]+|\d+)([uUlL]*)(?![\w.'])", code):
        number = int(match[1], 0) if match[1][:2] in ("0x", "0X") else int(match[1])
        yield match.start(1), match.end(1), hex(number + 1) if match[1][:2] in ("0x", "0X") else str(number + 1)
    for match in re.finditer(r"\b(true|false)\b", code):
        yield match.start(1), match.end(1), "false" if match[1] == "true" else "true"


def _closing(code, opening):
    """The place of the parenthesis that closes the one at OPENING."""
    depth = 0
    for place in range(opening, len(code)):
        depth += {"(": 1, ")": -1}.get(code[place], 0)
        if depth == 0:
            return place
    return -1


def _is_one_equality(expression):
    return re.findall(r" (==|!=|<|>|<=|>=|&&|\|\||\?) ", expression) in (["=="], ["!="])


def _negations(code, text):
    for match in re.finditer(r"\b(?:if|while) \(", code):
        begin, end = match.end(), _closing(code, match.end() - 1)
        condition = code[begin:end]
        if ";" in condition:
            begin += condition.rindex(";") + 2
        if re.search(r"[^=!<>]=[^=]", code[begin:end]):
            continue  # declares a variable
        if _is_one_equality(code[begin:end]):
            continue  # the operator for equality makes the same
        yield begin, end, f"!({text[begin:end]})"
    for match in re.finditer(r"; ([^;\n]+); [^;\n]*\)", code):
        yield match.start(1), match.end(1), f"!({text[match.start(1):match.end(1)]})"


def _returns(code, text):
    for match in re.finditer(r"\breturn ([^;{}]+);", code):
        value = text[match.start(1):match.end(1)]
        if re.fullmatch(r"true|false|nullptr|\d+|\*this", value):
            continue  # other operators change the first ones
        if value == "STATUS_OK":
            other = "STATUS_REFUSED"
        elif value.startswith("STATUS_"):
            other = "STATUS_OK"
        elif _is_one_equality(match[1]):
            continue
        elif re.search(r" (==|!=|<|>|<=|>=|&&|\|\|) ", match[1]) and " ? " not in match[1]:
            other = f"!({value})"
        else:
            other = "{}"
        yield match.start(1), match.end(1), other


_NO_STATEMENT = re.compile(r"(return|case|if|for|while|else|do|using|throw|friend|public|private|protected|static|"
                           r"template|explicit|default|namespace|class|struct|enum|const|constexpr|auto|try|catch|"
                           r"virtual|typedef|extern|delete)\b(?! \w+;)")
_DECLARATION = re.compile(r"(const )?[\w:]+(<.*?>)?[*&]* (const )?[*&]*\w+(;|\[| = |\(|\{)")
_LOCK = re.compile(r"(const )?(KXAutoLock|KXLockGuard|KXUniqueLock) \w+[({][^;]*;")


@functools.lru_cache(maxsize=1)
def _statements(code):
    """The statements of functions that begin a line, each as (begin, end): calls, assignments, locks."""
    found = []
    for match in re.finditer(r"^( +)([^\s;{}#][^;{}]*;)", code, re.MULTILINE):
        statement = match[2]
        before = code[:match.start(2)].rstrip()
        if before[-1:] not in (";", "{", "}", ")", ":") and not before.endswith(("else", "do")):
            continue  # the rest of an expression
        if statement.count("(") != statement.count(")") or not _is_in_function(code, match.start(2)):
            continue
        if _LOCK.match(statement) or not (_NO_STATEMENT.match(statement) or _DECLARATION.match(statement)):
            found.append((match.start(2), match.end(2)))
    return found


def _is_in_function(code, place):
    depth = 0
    for at in range(place - 1, -1, -1):
        if code[at] == "}":
            depth += 1
        elif code[at] == "{":
            if depth == 0:
                before = code[max(0, at - 200):at].rstrip()
                return bool(re.search(r"(\)|\}|const|noexcept|override|else|do|try|:)$", before))
            depth -= 1
    return False


def _is_about_locks(statement):
    return bool(_LOCK.match(statement) or re.search(r"(->|\.)(un)?lock\(\)|notify|\bwait\w*\(", statement))


def _deletions(code, _text):
    for begin, end in _statements(code):
        if not _is_about_locks(code[begin:end]) and not code.startswith("static_cast<void>(", begin):
            yield begin, end, ";"


def _locks(code, text):
    for begin, end in _statements(code):
        if _is_about_locks(code[begin:end]):
            yield begin, end, ";"
        if _LOCK.match(code[begin:end]):
            yield begin, end, "{ " + text[begin:end] + " }"


def _neighbours(code):
    """Two statements on lines of their own, one below the other."""
    statements = _statements(code)
    for (begin, end), (next_begin, next_end) in zip(statements, statements[1:]):
        gap = code[end:next_begin]
        indentation = begin - code.rfind("\n", 0, begin)
        if gap.count("\n") == 1 and not gap.strip() and next_begin - code.rfind("\n", 0, next_begin) == indentation:
            before = code[:begin].rstrip()
            if before[-1:] in (";", "{", "}"):
                yield begin, end, next_begin, next_end


def _is_publication(statement):
    return bool(re.search(r"\.store\(|notify|publish|fetch_|->start\(", statement))


def _swaps(wanted):
    def find(code, text):
        for begin, end, next_begin, next_end in _neighbours(code):
            publishes = _is_publication(code[begin:end]) or _is_publication(code[next_begin:next_end])
            if publishes == wanted:
                yield begin, next_end, text[next_begin:next_end] + text[end:next_begin] + text[begin:end]
    return find


OPERATORS = [
    ("boundary", _exchange(r" (<=|>=|<|>) ", {"<": "<=", "<=": "<", ">": ">=", ">=": ">"})),
    ("equality", _exchange(r" (==|!=) ", {"==": "!=", "!=": "=="})),
    ("logical", _exchange(r" (&&|\|\|) ", {"&&": "||", "||": "&&"})),
    ("negation", _negations),
    ("arithmetic", _exchange(r" ([-+*/%]) ", {"+": "-", "-": "+", "*": "/", "/": "*", "%": "/"})),
    ("arithmetic", _exchange(r"(\+\+|--|\+=|-=|\*=)", {"++": "--", "--": "++", "+=": "-=", "-=": "+=", "*=": "+="})),
    ("bits", _exchange(r" (<<|>>|&|\|) ", {"<<": ">>", ">>": "<<", "&": "|", "|": "&"})),
    ("constant", _constants),
    ("return", _returns),
    ("deletion", _deletions),
    ("order", _swaps(False)),
    ("lock", _locks),
    ("publication", _swaps(True)),
]
