#!/usr/bin/env python3
"""The checks of the guide notice what is wrong in a page: a dead link, a picture that is missing, a heading that is
not there, a snippet that does not compile, a command that prints something else, and an option, a file, a target and
a test that are not there."""

import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))

PAGE = """\
# A page

[A page](none.md), [a heading](page.md#nowhere), ![a picture](none.svg), [a heading that is there](#a-page).

<!-- file: wrong.cpp -->
```cpp
int wrong() { return "text"; }
```

```cpp
int withoutPreamble();
```

```console
$ echo one
two
```

<!-- not run: it has a reason -->
```console
$ false
```

```sh
echo one
```

```text
$ echo three
```

    echo four

`kxreplay --no-such-option`
"""

EXPECTED = {
    "links.py": ["there is no none.md", "there is no heading for page.md#nowhere", "there is no none.svg", "4 links"],
    "commands.py": ["'echo one' prints\none\ninstead of\ntwo", "is not run: it has a reason", "a block of 'sh'",
                    "a command stands in a block of the language console", "has a fence and a language"],
    "snippets.py": ["must name its file or its preamble"],
    "options.py": ["kxreplay knows no --no-such-option"],
    "recipes.py": ["README.md: there is no file events/None.h", "README.md: there is no target none_tests",
                   "README.md: there is no test NoSuchTest", "3 files, targets and tests"],
}


README = """\
`events/None.h`

    cmake --build build/dev --target none_tests
    ./test -R NoSuchTest
"""


def make_tree(folder):
    guide = os.path.join(folder, "docs", "guide")
    os.makedirs(guide)
    with open(os.path.join(guide, "page.md"), "w", encoding="utf-8") as file:
        file.write(PAGE)
    with open(os.path.join(folder, "README.md"), "w", encoding="utf-8") as file:
        file.write(README)
    subprocess.run(["git", "init", "--quiet", folder], check=True)


def run(script, folder):
    result = subprocess.run([sys.executable, os.path.join(HERE, script)], env=dict(os.environ, KX_SOURCE=folder),
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    return result.returncode, result.stdout


def main():
    failed = False
    with tempfile.TemporaryDirectory() as folder:
        make_tree(folder)
        results = {script: run(script, folder) for script in EXPECTED}
        page = os.path.join(folder, "docs", "guide", "page.md")
        with open(page, "w", encoding="utf-8") as file:
            file.write(PAGE.replace("```cpp\nint withoutPreamble();\n```\n", ""))
        results["snippets.py, whole sources"] = run("snippets.py", folder)
    expected = dict(EXPECTED, **{"snippets.py, whole sources": ["invalid conversion"]})
    for name, words in expected.items():
        status, output = results[name]
        missing = [word for word in words if word not in output]
        if missing or status == 0:
            failed = True
            print("%s ended with status %d and does not say %s, but:\n%s" % (name, status, missing, output))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
