#!/usr/bin/env python3
"""Builds and runs the programs in the documents given: every block of C, C++ or Python that is a
whole program. A block of text right behind one is what it prints.

    docs_test.py INCLUDE-FOLDER LIBRARY DOCUMENT...

CC, CXX and CXXFLAGS are those of the environment.
"""

import os
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

BLOCK = re.compile(r"^```(c|cpp|python)\n(.*?)^```$(?:\n+```text\n(.*?)^```$)?",
                   re.DOTALL | re.MULTILINE)
STRICT = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wconversion", "-Werror"]


def is_program(language, code):
    return "import mirovan\n" in code if language == "python" else "int main(" in code


def command_for(language, code, folder, include, library):
    if language == "python":
        return [sys.executable, "-B", "-c", code]
    compiler = {"c": [os.environ.get("CC", "cc"), "-std=c11"],
                "cpp": [os.environ.get("CXX", "c++"), "-std=c++20",
                        *os.environ.get("CXXFLAGS", "").split()]}[language]
    source = Path(folder, "program." + language)
    source.write_text(code, encoding="utf-8")
    subprocess.run([*compiler, *STRICT, source, "-o", source.with_suffix(""), "-I", include,
                    library, f"-Wl,-rpath,{Path(library).parent}", "-pthread"], check=True)
    return [source.with_suffix("")]


def wrong_with(language, code, expected, include, library):
    """What is wrong with a program, or nothing."""
    environment = {**os.environ, "MIROVAN_LIBRARY": library,
                   "PYTHONPATH": str(Path(include).parent / "bindings" / "python")}
    with tempfile.TemporaryDirectory() as folder:
        command = command_for(language, code, folder, include, library)
        ended = subprocess.run(command, cwd=folder, env=environment, timeout=60,
                               stdout=subprocess.PIPE, encoding="utf-8", check=False)
    if ended.returncode != 0:
        return f"status {ended.returncode}, {ended.stdout!r}"
    if expected and ended.stdout != expected:
        return f"printed {ended.stdout!r}, not {expected!r}"
    return "" if ended.stdout else "printed nothing"


def main(include, library, *documents):
    programs = []
    for document in documents:
        text = Path(document).read_text(encoding="utf-8")
        for block in BLOCK.finditer(text):
            line = text.count("\n", 0, block.start()) + 1
            if is_program(block[1], block[2]):
                programs.append((f"{document}:{line}", block.groups()))
    with ThreadPoolExecutor(2) as pool:
        outcomes = pool.map(lambda program: wrong_with(*program[1], include, library), programs)
        wrong = [f"{name}: {outcome}" for (name, _), outcome in zip(programs, outcomes) if outcome]
    print(*wrong, f"{len(programs)} programs", sep="\n")
    return 1 if wrong or not programs else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
