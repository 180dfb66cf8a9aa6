"""What surrounds the library: consumers of an installed copy, the header in every language, the
linked file, recipes of packages, manual pages, the chart. BUILD is the build tree under test."""

import os
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

ROOT = Path(__file__).parents[1]
BUILD = Path(os.environ.get("BUILD", ROOT / "build/release"))
sys.path.insert(0, str(ROOT / "tools"))

import header  # noqa: E402

RUN = """files
A machine, 2 processors, 24683620 kB, Linux 6.1; load 0.10
medians of 5 runs or more, taken in turn

                                                       ours    reference   ratio    limit
60 characters to UTF-8, beside wcsrtombs             30.4 ns       53.7 ns   0.57    50 ns
a list, beside <a loop>                            0.5447 s      3.6625 s    0.15   0.3   
memory of a list                                 12345.86 MiB 12345.77 MiB   1.00   1.3   
zeros, beside dd bs=1M                             2.2701 s      0.8046 s    2.82  1.05    OVER
"""


def run(*command, **options):
    ended = subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                           encoding="utf-8", check=False, **options)
    if ended.returncode:
        raise AssertionError(f"{command}: {ended.returncode}\n{ended.stdout}")
    return ended.stdout


class Case(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name


class Project(Case):
    def use(self, *settings, prefix, flags=""):
        build = tempfile.mkdtemp(dir=self.folder)
        run("cmake", "-S", "tests/consumers", "-B", build, *settings,
            env={**os.environ, "CFLAGS": flags, "CXXFLAGS": os.environ.get("CXXFLAGS", "") + flags})
        run("cmake", "--build", build, "-j2")
        run("cmake", "--install", build, "--prefix", prefix)
        return build

    @staticmethod
    def run_installed(prefix):
        run(prefix + "/bin/consumer", env={**os.environ, "LD_LIBRARY_PATH": prefix + "/lib"})


class Consumers(Project):
    def test_an_installed_copy_also_when_moved_or_static(self):
        first, second = self.folder + "/first", self.folder + "/second"
        run("cmake", "--install", BUILD, "--prefix", first)
        os.rename(first, second)
        self.use(f"-DCMAKE_PREFIX_PATH={second}", "-DVARIANT=mirovan", prefix=second)
        self.run_installed(second)
        environment = {**os.environ, "PKG_CONFIG_PATH": second + "/lib/pkgconfig"}
        ways = [["--libs"]]
        if Path(second, "lib/libmirovan.a").exists():
            self.use(f"-DCMAKE_PREFIX_PATH={second}", "-DVARIANT=static", prefix=second)
            self.run_installed(second)
            os.remove(second + "/lib/libmirovan.so")
            ways = [["--libs", "--static"]]
        for way in ways:
            flags = run("pkg-config", "--cflags", *way, "mirovan", env=environment).split()
            run("cc", "-std=c11", "-Wall", "-Wextra", "-Werror", "tests/consumers/consumer.c", *flags,
                "-o", second + "/bin/consumer")
            self.run_installed(second)

    def test_the_header_in_every_language(self):
        for compiler in ("gcc", "clang"):
            for standard in ("c11", "c17", "c++17", "c++20"):
                language = "c++" if "+" in standard else "c"
                command = [compiler, "-x", language, f"-std={standard}", "-Wall", "-Wextra",
                           "-Wpedantic", "-Wshadow", "-Wconversion", "-Werror", "-Iinclude",
                           "-fsyntax-only", "-"]
                run(*command, input='#include "mirovan.h"\n')
                if standard != "c++20":
                    refused = subprocess.run(command, cwd=ROOT, input='#include "mirovan.hpp"\nint x;\n',
                                             encoding="utf-8", stderr=subprocess.PIPE, check=False)
                    self.assertEqual(len(re.findall("error:.*C.*20", refused.stderr)), 1)
                    self.assertEqual(refused.stderr.count("error:"), 1, refused.stderr)


class Sources(Project):
    def test_the_sources_in_another_project_with_flags_of_its_own(self):
        prefix = self.folder + "/prefix"
        run(self.use(f"-DSOURCE={ROOT}", "-DVARIANT=mirovan", prefix=prefix,
                     flags=" -D_FORTIFY_SOURCE=3 -O1 -Werror") + "/consumer")
        self.assertEqual(os.listdir(prefix), ["bin"])


class Files(Case):
    def test_the_library_exports_what_is_listed_and_is_hardened(self):
        library = BUILD / "lib/libmirovan.so"
        run("tools/exports", library)
        facts = run("readelf", "-dlW", library) + run("nm", "-D", library)
        for fact in (r"SONAME.*\[libmirovan\.so\.1\]", "BIND_NOW", "GNU_RELRO", "GNU_STACK .*RW ",
                     "__stack_chk_fail"):
            self.assertRegex(facts, fact)

    def test_recipes_name_this_release_and_options_that_exist(self):
        release = header.release(header.read())
        for recipe, line in (("packaging/homebrew/mirovan.rb", f"mirovan-{release}.tar.gz"),
                             ("packaging/vcpkg/vcpkg.json", f'"version": "{release}"'),
                             ("CHANGELOG.md", f"## {release}")):
            self.assertIn(line, (ROOT / recipe).read_text())
        options = re.findall(r"option\((\w+) ", (ROOT / "CMakeLists.txt").read_text())
        for recipe in ("packaging/homebrew/mirovan.rb", "packaging/vcpkg/portfile.cmake"):
            self.assertLessEqual(set(re.findall(r"-D(MIROVAN_\w+)", (ROOT / recipe).read_text())),
                                 set(options))

    def test_every_function_has_a_manual_page_with_an_example(self):
        run("tools/man_pages", self.folder + "/man3")
        pages = {page.stem: page.read_text() for page in Path(self.folder, "man3").iterdir()}
        for function in header.functions(header.read()):
            page = pages.pop(function.name)
            if page.startswith(".so "):
                page = Path(self.folder, page.split()[1]).read_text()
            for needed in (rf"\n\.SH NAME\n[^\n]*\b{function.name}\b", rf"fB{function.name}\\fP\(",
                           "Thread safety: ", r"\n\.SH EXAMPLES\n"):
                self.assertRegex(page, needed, f"{function.name}; docs/snippets.c has the examples")
        self.assertEqual(list(pages), ["mirovan"])

    def test_the_chart_shows_every_row_of_a_run(self):
        Path(self.folder, "run").write_text(RUN + RUN.replace("files", "system", 1))
        drawing = xml.fromstring(run("tools/chart", self.folder + "/run"))
        bars = [element.get("class") for element in drawing.iter() if element.tag.endswith("rect")]
        self.assertEqual(bars, ["less", "less", "less", "more"] * 2)
        texts = [element.text for element in drawing.iter() if element.tag.endswith("text")]
        for expected in ("system", "a list, beside <a loop>", "0.15", "12345.86 to 12345.77 MiB",
                         "2.2701 to 0.8046 s, over"):
            self.assertIn(expected, texts)


if __name__ == "__main__":
    unittest.main()
