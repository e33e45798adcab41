#!/usr/bin/env python3
"""reference.py XML: checks what the reference tells of each public declaration, in Doxygen's XML.

A caller must not have to open a source. So each public function and each public field has a description, and what
holds for all members of a class may stand in the class's own description. The rules:

  thread     of each function, the description or that of its class names the threads that may call it
  blocking   and says whether it blocks, waits or locks
  ownership  of each function that takes or returns a pointer, it says who owns what, or how long it is valid
  unit       each number whose name tells that it is a time has a unit: ms, tick or seconds
  status     each function that returns an int has \\return with the names of its status numbers, or says what the
             number counts; "STATUS_OK (0)" has the number that the enumeration has

Constructors, destructors and operators share the rules of their class. A constexpr function depends on its arguments
only. A struct without private parts is plain data: whoever shares one guards it. Neither needs thread and blocking.
"""

import os
import re
import sys
import xml.etree.ElementTree as ElementTree

THREAD = re.compile(r"\bthreads?\b", re.IGNORECASE)
BLOCKING = re.compile(r"\b(?:un)?(?:block|wait|lock)(?:s|ed|ing)?\b|\bat once\b", re.IGNORECASE)
OWNS = r"own(?:s|ed|er)?|belongs?|outlives?|deletes?|valid|lives?"
OWNERSHIP = re.compile(r"\b(?:%s|frees?|caller's|null|copy|copies)\b" % OWNS, re.IGNORECASE)
RETURNED = re.compile(r"\b(?:%s)\b" % OWNS, re.IGNORECASE)
UNIT = re.compile(r"\b(?:ms|milliseconds?|ticks?|seconds?)\b|\bKXTick\b", re.IGNORECASE)
TIME_WORD = r"Ms|[tT]ick|[dD]uration|[tT]imeout|[dD]eadline|[tT]imeGap|[tT]imeStamp|[dD]elay"
TIME_NAME = re.compile(r"(?:^|[a-z])(?:%s)(?![a-z])|^(?:ms|tick|gap|now)$" % TIME_WORD)
NUMBER_TYPE = re.compile(r"^(?:const )?(?:unsigned(?: int)?|int|long long|std::u?int\d+_t|std::size_t"
                         r"|std::optional<.*int.*>)$")
STATUS = re.compile(r"\b(STATUS_[A-Z_]+)\b(?:\s*\((\d+)\))?")
OUTERMOST = {"KX"}  # too large for one statement about its functions
COUNTS = re.compile(r"\b(?:number|detents|descriptor|tick|-1)\b", re.IGNORECASE)


def text_of(element):
    return " ".join("".join(element.itertext()).split()) if element is not None else ""


class Compound:
    """A class, a struct or a namespace with its members."""

    def __init__(self, element):
        self.element = element
        self.name = element.findtext("compoundname")
        self.kind = element.get("kind")
        self.text = text_of(element.find("briefdescription")) + " " + text_of(element.find("detaileddescription"))
        self.bases = [base.get("refid") for base in element.findall("basecompoundref")]
        self.members = element.findall("sectiondef/memberdef")

    def is_plain_data(self):
        return self.kind == "struct" and all(member.get("prot") == "public" for member in self.members)

    def public(self, kind):
        return [member for member in self.members if member.get("kind") == kind and member.get("prot") == "public"]


class Reference:
    def __init__(self, folder):
        self.compounds = {}
        for name in sorted(os.listdir(folder)):
            if name.startswith(("class", "struct", "namespace")) and name.endswith(".xml"):
                element = ElementTree.parse(os.path.join(folder, name)).getroot().find("compounddef")
                self.compounds[element.findtext("compoundname")] = Compound(element)
        self.by_id = {compound.element.get("id"): compound for compound in self.compounds.values()}
        self.statuses = self.read_statuses()
        self.problems = []
        self.functions = 0
        self.fields = 0

    def read_statuses(self):
        """The numbers of the enumeration that has STATUS_OK."""
        numbers = {}
        for compound in self.compounds.values():
            for value in compound.element.iter("enumvalue"):
                number = text_of(value.find("initializer")).lstrip("= ")
                if value.findtext("name").startswith("STATUS_") and re.fullmatch(r"\d+", number):
                    numbers[value.findtext("name")] = int(number)
        return numbers

    def context(self, compound):
        """What is told of a class: its own words, those around it and those of its bases."""
        texts = [compound.text] if compound.name not in OUTERMOST else []
        outer = compound.name.rpartition("::")[0]
        if outer in self.compounds:
            texts.append(self.context(self.compounds[outer]))
        texts += [self.context(self.by_id[base]) for base in compound.bases if base in self.by_id]
        return " ".join(texts)

    def check(self):
        for compound in self.compounds.values():
            if compound.element.get("prot", "public") != "public":
                continue
            for function in compound.public("function"):
                if text_of(function.find("argsstring")).endswith("=delete"):
                    continue
                self.functions += 1
                self.check_function(compound, function)
            for field in compound.public("variable"):
                self.fields += 1
                self.check_field(compound, field)
        return self.problems

    def refuse(self, compound, member, problem):
        place = member.find("location")
        where = "%s:%s: " % (place.get("file"), place.get("line")) if place is not None else ""
        self.problems.append("%s%s::%s %s" % (where, compound.name, member.findtext("name"), problem))

    def check_field(self, compound, field):
        text = text_of(field.find("briefdescription")) + text_of(field.find("detaileddescription"))
        name = field.findtext("name")
        if not text:
            self.refuse(compound, field, "is not described")
        if self.is_time(name, text_of(field.find("type"))) and not name.endswith("Ms") and not UNIT.search(text):
            self.refuse(compound, field, "is a time without a unit")

    def check_function(self, compound, function):
        own = text_of(function.find("briefdescription")) + " " + text_of(function.find("detaileddescription"))
        name = function.findtext("name")
        is_special = name == compound.name.rpartition("::")[2] or name.startswith(("~", "operator"))
        if not own.strip():
            if not is_special or function.findall("param"):
                self.refuse(compound, function, "is not described")
            return
        context = own + " " + self.context(compound)
        if not compound.is_plain_data() and function.get("constexpr") != "yes":
            if not THREAD.search(context):
                self.refuse(compound, function, "does not tell its threads")
            if not BLOCKING.search(context):
                self.refuse(compound, function, "does not tell whether it blocks")
        self.check_ownership(compound, function, context)
        self.check_units(compound, function, own)
        self.check_status(compound, function, own)

    def check_ownership(self, compound, function, context):
        if text_of(function.find("type")).endswith("*") and not RETURNED.search(context):
            self.refuse(compound, function, "does not tell who owns what it returns")
        for parameter in function.findall("param"):
            if text_of(parameter.find("type")).endswith("*") and not OWNERSHIP.search(context):
                self.refuse(compound, function, "does not tell who owns '%s'" % parameter.findtext("declname"))

    def check_units(self, compound, function, own):
        numbers = [(parameter.findtext("declname") or "", text_of(parameter.find("type")))
                   for parameter in function.findall("param")]
        numbers.append((re.sub("^get", "", function.findtext("name")), text_of(function.find("type"))))
        for name, kind in numbers:
            if self.is_time(name, kind) and not name.endswith("Ms") and not UNIT.search(own):
                self.refuse(compound, function, "does not tell the unit of '%s'" % name)

    @staticmethod
    def is_time(name, kind):
        return bool(TIME_NAME.search(name) and NUMBER_TYPE.match(kind.replace("static ", "").replace("virtual ", "")))

    def check_status(self, compound, function, own):
        for name, number in STATUS.findall(own):
            if name not in self.statuses:
                self.refuse(compound, function, "names %s, which is no status" % name)
            elif number and self.statuses[name] != int(number):
                self.refuse(compound, function, "says that %s is %s" % (name, number))
        kind = re.sub(r"\b(?:static|virtual|constexpr|inline)\b ?", "", text_of(function.find("type")))
        if kind != "int" or function.findtext("name").startswith("get"):
            return
        returned = " ".join(text_of(part) for part in function.iter("simplesect") if part.get("kind") == "return")
        if not STATUS.search(returned) and not COUNTS.search(returned):
            self.refuse(compound, function, "does not list its status numbers")


def main():
    reference = Reference(sys.argv[1])
    problems = reference.check()
    for problem in problems:
        print(problem)
    print("%d functions and %d fields, %d problems" % (reference.functions, reference.fields, len(problems)))
    if not reference.functions:
        print("the reference is empty")
    return 1 if problems or not reference.functions else 0


if __name__ == "__main__":
    sys.exit(main())
