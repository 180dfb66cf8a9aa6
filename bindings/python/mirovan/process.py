"""Processes and commands. A process id of 0 is the calling process."""

from __future__ import annotations

import os
import threading
from ctypes import byref, c_long, c_ulong, create_string_buffer
from dataclasses import dataclass
from datetime import datetime
from typing import Any, Callable, List, Optional, Union

from . import _native
from ._native import PathLike, call, encode, local_time, number

Command = Union[str, bytes]


@dataclass(frozen=True)
class Info:
    """A snapshot of a process; sizes in bytes, modulo 16 GiB."""

    id: int
    threads: int
    name: str
    user: str
    running: bool
    virtual_size: int
    resident_size: int
    page_ins: int


def each_piece(command: Command, receive: Callable[[bytes], Any], *, count: int = 0,
               first: int = 1) -> None:
    """Hands lines of a shell command's output to a function, from the first one on.

    A line longer than 2,047 bytes comes in pieces. The function returns False to stop; what it
    raises ends the reading and is raised here. A count of 0 takes all lines.
    """
    raised: List[BaseException] = []

    def hand_over(piece: bytes, _length: int, _context: Any) -> bool:
        try:
            return receive(piece) is not False
        except BaseException as reason:
            raised.append(reason)
            return False

    try:
        call("output", command, "Mirovan_Process_ReadCmdLines", encode(command), count, first,
             _native.ReceivePiece(hand_over), None)
    finally:
        if raised:
            raise raised[0]


def output_bytes(command: Command, *, count: int = 0, first: int = 1) -> bytes:
    """The output of a shell command, of any length."""
    pieces: List[bytes] = []
    each_piece(command, pieces.append, count=count, first=first)
    return b"".join(pieces)


def output(command: Command, *, count: int = 0, first: int = 1) -> str:
    """The output of a shell command, as text."""
    return os.fsdecode(output_bytes(command, count=count, first=first))


def info(id: int = 0) -> Info:
    """A snapshot of a process."""
    record = _native.ProcessInfo()
    call("info", id, "Mirovan_Process_GetProcessInfo", byref(record), None, id or os.getpid())
    return Info(record.id, record.threads, os.fsdecode(record.name), os.fsdecode(record.user),
                record.state == 0, record.virtual_size * 4, record.resident_size * 4,
                record.page_ins)


def cpu_usage(id: int = 0) -> int:
    """The usage of a process in thousandths of a processor."""
    return number("cpu_usage", id, "Mirovan_Process_GetProcessCpuUsage", id)


def start_time(id: int = 0) -> datetime:
    """When a process started, in local time."""
    return local_time(id, "Mirovan_Process_GetUpTime", id)


def path(id: int = 0) -> str:
    """Full path of the program that a process runs."""
    buffer = create_string_buffer(_native.PATH_SIZE)
    call("path", id, "Mirovan_Process_GetPath", buffer, id)
    return os.fsdecode(buffer.value)


def is_admin() -> bool:
    """Whether this process runs as the superuser."""
    return bool(_native.library.Mirovan_Process_IsAdmin())


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
    """Starts a program with arguments separated by blanks and an empty environment; its id."""
    id = c_ulong()
    call("create", program, "Mirovan_Process_CreateProcess", byref(id), encode(program),
         encode(arguments), False)
    return id.value


def run(program: PathLike, name: str, argument: Optional[str] = None) -> int:
    """Starts a program with this environment; `name` becomes its argument zero. Its id."""
    id = c_ulong()
    call("run", program, "Mirovan_Process_RunProcess", byref(id), encode(program), encode(name),
         None if argument is None else encode(argument), False)
    return id.value


def affinity_tag(thread: Optional[int] = None) -> int:
    """The affinity tag of a thread (its `ident`), or of the calling one."""
    tag = c_long()
    call("affinity_tag", "", "Mirovan_Process_GetProcessForCpu",
         thread or threading.get_ident(), byref(tag))
    return tag.value


def set_affinity_tag(tag: int, thread: Optional[int] = None) -> None:
    """Threads of one tag are asked to share a cache; 0 is no affinity."""
    call("set_affinity_tag", "", "Mirovan_Process_SetProcessForCpu",
         thread or threading.get_ident(), tag)
