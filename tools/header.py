"""What include/mirovan.h says, for the tools that make something of it."""

import re
import textwrap
from dataclasses import dataclass, field
from pathlib import Path
from typing import Dict, List, Tuple

HEADER = Path(__file__).parent.parent / "include" / "mirovan.h"


@dataclass
class Function:
    """A function of the C interface with the parts of its comment, each as one line of text."""

    name: str
    group: str
    result: str
    parameters: List[Tuple[str, str]]  # type or whole declaration, name
    brief: str = ""
    details: List[str] = field(default_factory=list)
    about: Dict[str, str] = field(default_factory=dict)  # by parameter
    returns: str = ""
    notes: str = ""
    see: str = ""


@dataclass
class Record:
    """A record of the C interface: its declarations and what they mean."""

    name: str
    brief: str
    fields: List[Tuple[str, str]]


def one_line(text: str) -> str:
    return " ".join(text.split())


def read() -> str:
    return HEADER.read_text(encoding="utf-8")


def release(text: str) -> str:
    return re.search(r'#define MIROVAN_VERSION "(.+)"', text)[1]


def error_codes(text: str) -> List[Tuple[str, str, str]]:
    """Value as it is written, constant and sentence of every code."""
    entries = re.findall(r'\bXX\((0x\w+),\s+(\w+),\s+((?:\\?\s*"[^"]*")+)\)',
                         text.replace("\\\n", "\n"))
    return [(value, name, "".join(re.findall(r'"([^"]*)"', sentence)))
            for value, name, sentence in entries]


def error_causes(text: str) -> List[Tuple[str, str, str, str]]:
    """Constant, errno, operation and sentence of every cause with a sentence of its own."""
    return re.findall(r'\bXX\((\w+),\s+(\w+),\s+"(\w*)",\s+"([^"]*)"\)',
                      text.replace("\\\n", "\n"))


def examples(name: str = "snippets.c") -> Dict[str, str]:
    """The example of each function: the body where it is one function, else everything."""
    source = (HEADER.parents[1] / "docs" / name).read_text(encoding="utf-8")
    found = {}
    for name, code in re.findall(r"^/\* (\w+) \*/\n(.*?)\n(?=\n/\*)", source,
                                 re.DOTALL | re.MULTILINE):
        body = re.fullmatch(r"static void \w+\((?:void)?\)\n\{\n(.*)\n\}", code, re.DOTALL)
        found[name] = textwrap.dedent(body[1]) if body and "\n}\n" not in code else code
    return found


def constants_written_out(text: str) -> str:
    """The header with each error code as a constant that has its sentence."""
    constants = "\n".join(f"    {name} = {value}, /**< {sentence} */"
                          for value, name, sentence in error_codes(text))
    return re.sub(r"#define MIROVAN_ERROR_CONSTANT.*?#undef MIROVAN_ERROR_CONSTANT",
                  lambda _: constants, text, flags=re.DOTALL)


def overview(text: str) -> List[Tuple[str, str]]:
    """The headed parts of the comment that opens the header; the first one has no heading."""
    lines = [strip_line(line) for line in text[:text.index("*/")].splitlines()[1:]]
    lines = [line for line in lines if not line.startswith("@file")]
    parts = re.split(r"^## (.+)$", "\n".join(lines), flags=re.MULTILINE)
    return [("", parts[0].replace("@brief ", "").strip())] + [
        (heading, body.strip()) for heading, body in zip(parts[1::2], parts[2::2])]


def strip_line(line: str) -> str:
    return re.sub(r"^\s*(/\*\*|\*/|\*)? ?", "", line)


def paragraphs(comment: str) -> List[str]:
    lines = [strip_line(line) for line in comment.removesuffix("*/").splitlines()]
    blocks = re.split(r"\n\s*\n|\n(?=\s*@)", "\n".join(lines))
    return [one_line(block).replace("\\*", "*") for block in blocks if block.strip()]


def describe(function: Function, comment: str) -> None:
    for paragraph in paragraphs(comment):
        word, _, rest = paragraph.partition(" ")
        if word == "@brief":
            function.brief = rest
        elif word == "@param":
            name, _, about = rest.partition(" ")
            function.about[name] = about
        elif word == "@return":
            function.returns = rest
        elif word == "@see":
            function.see = rest
        elif function.returns:
            function.notes = (function.notes + " " + paragraph).strip()
        else:
            function.details.append(paragraph)


def split_parameters(text: str) -> List[Tuple[str, str]]:
    parameters = []
    for parameter in re.split(r",(?![^(]*\))", text):
        parameter = one_line(parameter)
        if parameter not in ("", "void"):
            name = re.search(r"\(\*(\w+)\)|(\w+)$", parameter)
            parameters.append((parameter, name[1] or name[2]))
    return parameters


def functions(text: str) -> List[Function]:
    """Every function of the C interface as C sees it, in the order of the header."""
    text = re.sub(r"#ifdef __cplusplus\n((?:(?!#endif).)*?)#else\n(.*?)#endif", r"\2", text,
                  flags=re.DOTALL)
    text = text[:text.index("class MIROVAN_API")]
    pattern = (r"@name (?P<group>[^\n]+)|/\*\*(?P<comment>(?:(?!\*/).)*)\*/\s*"
               r"MIROVAN_API (?P<result>[\w ]+[ *]+)(?P<name>\w+)\((?P<parameters>[^;]*)\);")
    found, group = [], ""
    for match in re.finditer(pattern, text, re.DOTALL):
        if match["group"]:
            group = match["group"].strip()
            continue
        function = Function(match["name"], group, match["result"].strip(),
                            split_parameters(match["parameters"]))
        describe(function, match["comment"])
        found.append(function)
    return found


def records(text: str) -> Dict[str, Record]:
    found = {}
    pattern = r"/\*\*((?:(?!\*/).)*)\*/\s*typedef struct (\w+)\n\{(.*?)\n\} \w+;"
    for comment, name, body in re.findall(pattern, text, re.DOTALL):
        about = re.findall(r"^\s*(\w[^;]*;)\s*/\*\*<(.*?)\*/", body, re.DOTALL | re.MULTILINE)
        found[name] = Record(name, paragraphs(comment)[0].removeprefix("@brief "),
                             [(one_line(field), one_line(meaning)) for field, meaning in about])
    return found


def types(text: str) -> List[Tuple[str, str, List[Tuple[str, str]]]]:
    """Every enum and struct: its kind and name, and its constants with their values, or the
    declarations and names of its fields. The error codes are in error_codes()."""
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL)
    found = []
    for kind, name, body in re.findall(r"\b(enum|struct)( \w+)?\s*\{([^}]*)\}", text):
        if kind == "enum":
            members = [(constant, str(int(value, 0)))
                       for constant, value in re.findall(r"(\w+) = (-?\w+)", body)]
        else:
            members = [(re.sub(r" = .*", "", one_line(field)),
                        re.search(r"\(\*(\w+)\)|(\w+)(\[\w+\])?$", field.strip()).group(1, 2))
                       for field in body.split(";") if field.strip()]
            members = [(declaration, names[0] or names[1]) for declaration, names in members]
        found.append((kind, name.strip(), members))
    return found


CLASSES = {"File": ("CMirovan_File", "m_FileSdk"), "HardWare": ("CMirovan_HardWare", "m_Hardware"),
           "Process": ("CMirovan_Process", "m_ProcessSdk"),
           "System": ("CMirovan_System", "m_SystemSdk")}


def methods(text: str) -> Dict[str, List[str]]:
    """The parameter lists of every method of the four classes, by its name."""
    found: Dict[str, List[str]] = {}
    for name, parameters in re.findall(r"^    bool (Mirovan_\w+)\(([^;]*)\);",
                                       text[text.index("class MIROVAN_API"):], re.MULTILINE):
        found.setdefault(name, []).append(one_line(parameters))
    return found
