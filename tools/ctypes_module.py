"""The C interface of include/mirovan.h as a Python module of ctypes declarations."""

import re
import sys
import textwrap

import header

NUMBERS = {"bool": "c_bool", "char": "c_char", "int": "c_int", "long long": "c_longlong",
           "unsigned long": "c_ulong", "pthread_t": "c_ulong", "wchar_t": "c_wchar", "void": "None",
           **{f"{sign}int{bits}_t": f"c_{sign}int{bits}" for sign in ("", "u") for bits in (32, 64)}}
POINTERS = {"char": "c_char_p", "wchar_t": "c_wchar_p", "void": "c_void_p"}


def ctype(declaration, records, callback=False):
    """The ctypes type of a parameter or field."""
    function = re.match(r"(.+?)\(\*\w*\)\((.*)\)$", declaration)
    if function:
        parameters = [ctype(text, records, callback=True)
                      for text, _ in header.split_parameters(function[2])]
        return f"CFUNCTYPE({', '.join([ctype(function[1] + ' _', records), *parameters])})"
    array = re.match(r"(.+)\[(\w+)\]$", declaration)
    if array:
        return f"{ctype(array[1], records)} * {array[2]}"
    words = re.sub(r"\bconst\b", " ", re.sub(r"\w+$", "", declaration))
    stars, base = words.count("*"), header.one_line(words.replace("*", " "))
    if callback and base == "char":  # bytes, of which ctypes would read up to a NUL
        base = "void"
    if stars and base in POINTERS:
        stars, name = stars - 1, POINTERS[base]
    elif base in NUMBERS or base in records:
        name = NUMBERS.get(base, base)
    else:
        sys.exit(f"no ctypes type for {declaration}")
    return "POINTER(" * stars + name + ")" * stars


def listed(opening, items, closing):
    return textwrap.fill(opening + ", ".join(item.replace(" ", "\0") for item in items) + closing,
                         100, subsequent_indent=" " * len(opening),
                         break_long_words=False).replace("\0", " ")


def module(text):
    types, functions = header.types(text), header.functions(text)
    records = [name for kind, name, _ in types if kind == "struct"]
    lines = [f"{name} = {value}" for name, value in re.findall(r"#define MIROVAN_(\w+) (\d+)\n", text)]
    for kind, name, members in types:
        if kind == "enum":
            lines += [f"{constant.removeprefix('MIROVAN_')} = {value}" for constant, value in members]
        else:
            fields = [f'("{field}", {ctype(declaration, records)})' for declaration, field in members]
            lines += ["", "", f"class {name}(Structure):", listed("    _fields_ = [", fields, "]"), ""]
    lines += ["", "# The result and the parameters of every function.", "FUNCTIONS = {"]
    for function in functions:
        parameters = [ctype(declaration, records) for declaration, _ in function.parameters]
        lines += [f'    "{function.name}":',
                  listed(f"        ({ctype(function.result + ' _', records)}, [", parameters, "]),")]
    body = re.sub(r"\n{2,}", "\n\n\n", "\n".join([*lines, "}", ""]))
    names = sorted(set(re.findall(r"\b(c_\w+|CFUNCTYPE|POINTER|Structure)\b", body)))
    return "\n".join(['"""Written by tools/generate from include/mirovan.h."""', "",
                      listed("from ctypes import (", names, ")"), "", body])
