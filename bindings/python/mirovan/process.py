"""Processes and commands. A process id of 0 is the calling process."""

from __future__ import annotations

import os
import threading
from ctypes import byref, c_long, c_ulong, create_string_buffer, string_at
from dataclasses import dataclass
from datetime import datetime
from typing import Any, Callable, List, Optional, Union

from . import _generated as c
from ._native import PathLike, aside, call, call_with, encode, field, library
from ._native import local_time, number, query

Command = Union[str, bytes]


@dataclass(frozen=True)
class Info:
    """A snapshot of a process; sizes in bytes, modulo 16 GiB."""

    id: int = field("nProcessId")
    threads: int = field("nThreadCount")
    name: str = field("tszProcessName")
    user: str = field("tszUserName")
    running: bool = field("nState", convert=lambda state: state == 0)
    virtual_size: int = field("nVirtualSize", convert=lambda size: size * 4)
    resident_size: int = field("nResidentSize", convert=lambda size: size * 4)
    page_ins: int = field("nPageIns")


def each_piece(command: Command, receive: Callable[[bytes], Any], *, count: int = 0,
               first: int = 1) -> None:
    """Passes lines of a shell command's output to a function, from the first one on.

    A line longer than 2,047 bytes comes in chunks; each chunk is truncated at a NUL. The function
    returns False to stop; what it raises ends the reading and is raised here. A count of 0 takes
    all lines. Ctrl-C ends it with the next line.
    """
    call_with(lambda chunk: receive(string_at(chunk)), "output", command,
              "Mirovan_Process_ReadCmdLines", encode(command), count, first)


def output_bytes(command: Command, *, count: int = 0, first: int = 1) -> bytes:
    """The output of a shell command, of any length. Lines, or chunks of 2,047 bytes of one, are
    truncated at a NUL; `execute` has every byte.

    Ctrl-C ends the wait at once. The command, which the terminal interrupts too, may run on.
    """
    chunks: List[bytes] = []
    wanted = True

    def receive(chunk: bytes) -> bool:
        chunks.append(chunk)
        return wanted

    try:
        aside(lambda: each_piece(command, receive, count=count, first=first))
    finally:
        wanted = False
    return b"".join(chunks)


def output(command: Command, *, count: int = 0, first: int = 1) -> str:
    """The same as a string, with undecodable bytes as surrogates."""
    return os.fsdecode(output_bytes(command, count=count, first=first))


def info(id: int = 0) -> Info:
    """A snapshot of a process."""
    return query(Info, "info", id, "Mirovan_Process_GetProcessInfo",
                 c.tag_Mirovan_Process_Infomation(), None, id or os.getpid())


def cpu_usage(id: int = 0) -> int:
    """The usage of a process in thousandths of a processor."""
    return number("cpu_usage", id, "Mirovan_Process_GetProcessCpuUsage", id)


def start_time(id: int = 0) -> datetime:
    """When a process started, in local time, to the second."""
    return local_time(id, "Mirovan_Process_GetUpTime", id)


def path(id: int = 0) -> str:
    """Full path of the program that a process runs."""
    buffer = create_string_buffer(c.PATH_SIZE)
    call("path", id, "Mirovan_Process_GetPath", buffer, id)
    return os.fsdecode(buffer.value)


def is_admin() -> bool:
    """Whether this process runs as root."""
    return bool(library.Mirovan_Process_IsAdmin())


def priority(id: int = 0) -> int:
    """The nice value of a process."""
    return number("priority", id, "Mirovan_Process_GetPriority", id)


def set_priority(value: int, id: int = 0) -> None:
    """Sets the nice value of a process, -20 to 20."""
    call("set_priority", id, "Mirovan_Process_SetPriority", value, id)


def stop(id: int) -> None:
    """Interrupts a process, and waits for its end when it is a child of this one."""
    call("stop", id, "Mirovan_Process_Stop", None, id, False)


def stop_matching(pattern: str) -> None:
    """Interrupts the first process whose line in the process list matches a grep pattern."""
    call("stop_matching", pattern, "Mirovan_Process_Stop", encode(pattern), 0, False)


def create(program: PathLike, arguments: str = "") -> int:
    """Starts a program with arguments separated by spaces and an empty environment; returns its id.
    `wait` reaps it."""
    id = c_ulong()
    call("create", (program,), "Mirovan_Process_CreateProcess", byref(id), encode(program),
         encode(arguments), False)
    return id.value


def run(program: PathLike, name: str, argument: Optional[str] = None) -> int:
    """Starts a program with this environment; `name` becomes its argument zero. Returns its id;
    `wait` reaps it. A program that cannot be executed exits with status 127."""
    id = c_ulong()
    call("run", (program,), "Mirovan_Process_RunProcess", byref(id), encode(program), encode(name),
         None if argument is None else encode(argument), False)
    return id.value


def affinity_tag(thread: Optional[int] = None) -> int:
    """The affinity tag of a thread (its `ident`), or of the calling one."""
    tag = c_ulong()
    call("affinity_tag", "", "Mirovan_Process_GetProcessForCpu",
         thread or threading.get_ident(), byref(tag))
    return c_long(tag.value).value


def set_affinity_tag(tag: int, thread: Optional[int] = None) -> None:
    """Threads of one tag are asked to share a cache; 0 is no affinity."""
    call("set_affinity_tag", "", "Mirovan_Process_SetProcessForCpu",
         thread or threading.get_ident(), tag)
