#!/usr/bin/env python3
"""Follows README and the guide word for word, as an ordinary user with a fresh home.

    tests/recipes.py [PAGE...]

The checkout is copied to ~/src/mirovan; README is followed there, each other page in a folder of its
own. A block behind a line that ends in "`NAME`:" becomes that file. A block of sh is run; a whole
program without a file name is built and run. A block of text behind either is what it must print. A
comment "<!-- CI: COMMAND -->" says which step of .ci/run follows the block behind it instead, and
"<!-- by hand: REASON -->" why none does.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).parents[1]
BLOCK = re.compile(r"(?:<!-- (?P<other>CI|by hand): (?P<step>.*?) -->\n+)?(?:^[^\n]*`(?P<name>[\w.]+)`:\n+)?"
                   r"^```(?P<language>\w+)\n(?P<code>.*?)^```$(?:\n+```text\n(?P<prints>.*?)^```$)?",
                   re.DOTALL | re.MULTILINE)
STRICT = "-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -pthread"
FLAGS = "$(PKG_CONFIG_PATH=~/mirovan/lib/pkgconfig pkg-config --cflags --libs mirovan) -Wl,-rpath,$HOME/mirovan/lib"
RUN = {"c": f"cc -std=c11 {STRICT} program.c {FLAGS} -o program && ./program",
       "cpp": f"c++ -std=c++20 {STRICT} program.cpp {FLAGS} -o program && ./program",
       "python": "PYTHONPATH=~/src/mirovan/bindings/python python3 -B program.python"}


def script_of(text, steps):
    """A shell script that follows a page, and what each of its parts must print."""
    parts, expected = ["set -e"], []
    for block in BLOCK.finditer(text):
        language, code, name = block["language"], block["code"], block["name"]
        if block["step"]:
            assert block["other"] != "CI" or block["step"] in steps, f"no step of CI runs {block['step']}"
            continue
        whole = "import mirovan\n" in code if language == "python" else "int main(" in code
        if not name and language in RUN and whole:
            name = f"program.{language}"
            parts.append(f"cat >{name} <<'END OF FILE'\n{code}END OF FILE")
            code = RUN[language] + "\n"
        elif name:
            parts.append(f"cat >{name} <<'END OF FILE'\n{code}END OF FILE")
            continue
        elif language != "sh":
            continue
        parts.append(f"{{\n{code}}} >$PRINTS.{len(expected)}")
        expected.append((text.count("\n", 0, block.start()) + 1, block["prints"]))
    return "\n".join(parts), expected


def follow(page, home, as_user, steps):
    """What went wrong with a page, as lines."""
    script, expected = script_of(page.read_text(encoding="utf-8"), steps)
    folder = home / "src/mirovan" if page.name == "README.md" else home / page.stem
    subprocess.run([*as_user, "mkdir", "-p", folder], check=True)
    ended = subprocess.run([*as_user, "env", "-i", f"HOME={home}", f"PRINTS={home}/{page.stem}",
                            "PATH=/usr/local/bin:/usr/bin:/bin", "bash", "-c", script], cwd=folder, stdin=subprocess.DEVNULL,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, encoding="utf-8",
                           timeout=900, check=False)
    for number, (line, prints) in enumerate(expected):
        outcome = home / f"{page.stem}.{number}"
        if ended.returncode and not (home / f"{page.stem}.{number + 1}").exists():
            yield f"{page}:{line}: status {ended.returncode}\n{ended.stdout[-3000:]}"
            return
        printed = outcome.read_text(encoding="utf-8")
        if prints and not printed.endswith(prints):
            yield f"{page}:{line}: prints\n{printed}instead of\n{prints}"


def main(*pages):
    pages = [Path(page) for page in pages] or sorted((ROOT / "docs").glob("*.md"))
    steps = (ROOT / ".ci/run").read_text()
    home = Path(tempfile.mkdtemp(prefix="recipes."))
    try:
        copy = home / "src/mirovan"
        files = subprocess.check_output(["git", "ls-files", "-z"], cwd=ROOT, text=True).split("\0")
        for name in filter(None, files):
            if (ROOT / name).exists():
                (copy / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(ROOT / name, copy / name)
        as_user = []
        if os.geteuid() == 0:
            as_user = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
            subprocess.run(["chown", "-R", "65534:65534", home], check=True)
        wrong = list(follow(ROOT / "README.md", home, as_user, steps))
        if not wrong:
            with ThreadPoolExecutor(2) as pool:
                for found in pool.map(lambda page: list(follow(page, home, as_user, steps)), pages):
                    wrong += found
        print(*wrong, f"recipes: README and {len(pages)} pages followed, {len(wrong)} wrong", sep="\n")
        return 1 if wrong else 0
    finally:
        shutil.rmtree(home)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
