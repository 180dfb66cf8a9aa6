"""What the tools make of the header and of a run of the benchmarks."""

import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

ROOT = Path(__file__).parents[1]
VARIABLES = {"Mirovan_IsErrorOccur", "Mirovan_dwErrorCode"}

RUN = """files
A machine, 2 processors, 24683620 kB, Linux 6.1; load 0.10
medians of 5 runs or more, taken in turn

                                                       ours    reference   ratio    limit
60 characters to UTF-8, beside wcsrtombs             30.4 ns       53.7 ns   0.57    50 ns
a list, beside <a loop>                            0.5447 s      3.6625 s    0.15   0.3   
memory of a list                                 12345.86 MiB 12345.77 MiB   1.00   1.3   
zeros, beside dd bs=1M                             2.2701 s      0.8046 s    2.82  1.05    OVER
"""


def run(*command):
    return subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.PIPE,
                          encoding="utf-8").stdout


class DocumentsTest(unittest.TestCase):
    def test_every_exported_function_has_a_manual_page(self):
        exported = {line.split()[0] for line in (ROOT / "source/exports.txt").read_text().split("\n")
                    if line and line.startswith(("Mirovan_", "Fundix_"))} - VARIABLES
        self.assertEqual(len(exported), 50)
        with tempfile.TemporaryDirectory() as folder:
            run("tools/man_pages", folder + "/man3")
            pages = {page.stem: page.read_text() for page in Path(folder, "man3").iterdir()}
            for name in exported:
                page = pages.pop(name)
                if page.startswith(".so "):
                    page = Path(folder, page.split()[1]).read_text()
                self.assertRegex(page, rf'\n\.SH NAME\n[^\n]*\b{name}\b')
                self.assertRegex(page, rf"fB{name}\\fP\(")
                self.assertIn("Threads: ", page)
        self.assertEqual(list(pages), ["mirovan"])

    def test_the_table_of_the_readme_names_every_function_once(self):
        header = (ROOT / "include/mirovan.h").read_text()
        declared = re.findall(r"^ *MIROVAN_API [\w ]+\W+(\w+)\(", header, re.MULTILINE)
        rows = re.findall(r"^\| `(\w+)`(, `W`)? \| \w", (ROOT / "README.md").read_text(),
                          re.MULTILINE)
        named = [name for name, wide in rows] + [name[:-1] + "W" for name, wide in rows if wide]
        self.assertEqual(sorted(named), sorted(set(declared)))

    def test_the_chart_shows_every_row_of_a_run(self):
        with tempfile.NamedTemporaryFile("w") as output:
            output.write(RUN + RUN.replace("files", "system", 1))
            output.flush()
            drawing = xml.fromstring(run("tools/chart", output.name))
        bars = [element.get("class") for element in drawing.iter() if element.tag.endswith("rect")]
        self.assertEqual(bars, ["less", "less", "less", "more"] * 2)
        texts = [element.text for element in drawing.iter() if element.tag.endswith("text")]
        for expected in ("system", "a list, beside <a loop>", "0.15",
                         "12345.86 to 12345.77 MiB", "2.2701 to 0.8046 s, over"):
            self.assertIn(expected, texts)


if __name__ == "__main__":
    unittest.main()
