"""Processes and commands. A process id of 0 is the calling process."""

from __future__ import annotations

import math
import os
import queue
import threading
import time
from ctypes import byref, c_char_p, c_long, c_ulong, c_void_p, cast, create_string_buffer
from ctypes import string_at
from dataclasses import dataclass, replace
from datetime import datetime, timedelta
from enum import IntEnum
from typing import Any, Callable, Iterable, Iterator, List, Mapping, Optional, Sequence, Tuple
from typing import Union

from . import _generated as c
from ._native import PathLike, aside, call, call_with, encode, field, fill, library, local_time
from ._native import milliseconds, number, query, sized, span, when

Command = Union[str, bytes]
Limit = Union[timedelta, float, None]
Receive = Callable[[bytes], Any]
Receiver: Any = dict(c.MIROVAN_COMMAND._fields_)["pfnOutput"]


class End(IntEnum):
    """How a command ended."""

    UNKNOWN = c.END_UNKNOWN
    EXITED = c.END_EXITED
    SIGNALLED = c.END_SIGNALLED
    LIMIT = c.END_LIMIT
    STOPPED = c.END_STOPPED
    RUNNING = c.END_RUNNING


@dataclass(frozen=True)
class Result:
    """How a command ended and what it used; None for what is unknown. Processor times include those
    of the children that the command waited for, `peak_memory` is in bytes."""

    id: int = field("nProcessId")
    end: End = field("nEnd", convert=End)
    exit_status: Optional[int] = field("nExitStatus", c.RESULT_STATUS)
    signal: Optional[int] = field("nSignal", c.RESULT_STATUS)
    wall_time: Optional[timedelta] = field("nWallTime", c.RESULT_WALL_TIME, span)
    user_time: Optional[timedelta] = field("nUserTime", c.RESULT_PROCESSOR_TIME, span)
    system_time: Optional[timedelta] = field("nSystemTime", c.RESULT_PROCESSOR_TIME, span)
    peak_memory: Optional[int] = field("nPeakMemory", c.RESULT_PEAK_MEMORY)
    stdout: bytes = b""
    stderr: bytes = b""

    @property
    def status(self) -> Optional[int]:
        """The exit status, or the negative number of the signal that ended the command, as
        `returncode` of subprocess; None if unknown."""
        return -self.signal if self.signal else self.exit_status

    @property
    def ok(self) -> bool:
        """Whether the command ended by itself with the exit status 0."""
        return self.end == End.EXITED and self.exit_status == 0

    @property
    def output(self) -> str:
        """`stdout` as a string, with undecodable bytes as surrogates."""
        return os.fsdecode(self.stdout)

    @property
    def errors(self) -> str:
        """The same of `stderr`."""
        return os.fsdecode(self.stderr)


def execute(command: Union[Sequence[PathLike], str, bytes], *, shell: bool = False,
            timeout: Limit = None, grace: Union[timedelta, float] = 0.1,
            input: Union[bytes, str] = b"", cwd: Optional[PathLike] = None,
            env: Optional[Mapping[str, str]] = None, capture: bool = True,
            merge_errors: bool = False, on_output: Optional[Receive] = None,
            on_errors: Optional[Receive] = None) -> Result:
    """Runs a program and waits for it.

    `command` is the program, which is searched for on PATH, and its arguments; with `shell=True` it
    is a command line for /bin/sh. At `timeout` (in seconds, or a timedelta) the command and the
    processes that it started are ended with SIGTERM and, after `grace`, with SIGKILL; the result
    has `end == End.LIMIT`. What it wrote is in `stdout` and `stderr` of the result, byte for byte.
    Instead, `on_output` and `on_errors` get it in chunks as it comes, and return False to end the
    command. With `capture=False` it is not redirected. `merge_errors` puts errors into the output.

    A program that cannot be started raises Error (FileNotFoundError, PermissionError). Ctrl-C, and
    what `on_output` raises, ends the command and is raised.
    """
    if shell != isinstance(command, (str, bytes)):
        raise TypeError("a command line needs shell=True, a list of arguments shell=False")
    words: List[PathLike] = [command] if isinstance(command, (str, bytes)) else [*command]
    taken: Tuple[List[bytes], List[bytes]] = [], []
    events: Any = queue.SimpleQueue()
    answers: Any = queue.SimpleQueue()
    is_wanted = True

    def receiver(function: Optional[Receive], chunks: List[bytes]) -> Any:
        """The callback of a stream, on the thread of the command. The caller's function is called
        on the caller's thread."""
        def receive(data: int, length: int, _context: Any) -> bool:
            chunk = string_at(data, length)
            if function is None:
                chunks.append(chunk)
            elif is_wanted:
                events.put((function, chunk))
                return answers.get() is True
            return is_wanted

        return Receiver(receive) if capture or function is not None else Receiver()

    def strings(items: Iterable[PathLike]) -> Any:
        encoded = [encode(item) for item in items]
        return (c_char_p * (len(encoded) + 1))(*encoded)

    data = os.fsencode(input) if isinstance(input, str) else bytes(input)
    record = sized(c.MIROVAN_COMMAND)
    if shell:
        record.lpszShellLine = encode(words[0])
    else:
        record.ppszArguments = strings(words)
    if env is not None:
        record.ppszEnvironment = strings(_environment(env))
    record.lpszFolder = None if cwd is None else encode(cwd)
    record.pInput = cast(c_char_p(data), c_void_p) if data else None
    record.nInputLen = len(data)
    record.nLimitMs = 0 if timeout is None else max(1, milliseconds(timeout))
    record.nGraceMs = milliseconds(grace) or -1
    record.pfnOutput = receiver(on_output, taken[0])
    if not merge_errors or on_errors is not None:
        record.pfnErrors = receiver(on_errors, taken[1])
    told, teller = (open(end, mode, buffering=0) for end, mode in zip(os.pipe(), ("rb", "wb")))
    record.nFlags = c.COMMAND_STOP | (c.COMMAND_MERGE if merge_errors else 0)
    result = sized(c.MIROVAN_COMMAND_RESULT)

    def run() -> None:
        reason: Optional[BaseException] = None
        try:
            record.nStopDescriptor = told.fileno()  # told stays open as long as this runs
            call("execute", words[0] if shell else (*words[:1],), "Mirovan_Process_Execute", record,
                 result)
        except BaseException as raised:
            reason = raised
        events.put((None, reason))

    worker = threading.Thread(target=run, daemon=True)
    try:
        worker.start()
        while True:
            function, event = events.get()
            if function is None:
                break
            answers.put(function(event) is not False)
        told.close()
    except BaseException:
        is_wanted = False
        teller.write(b"\0")
        answers.put(False)
        if worker.is_alive():
            worker.join()
            told.close()
        raise
    finally:
        teller.close()
    if event is not None:
        raise event
    return replace(fill(Result, result), stdout=b"".join(taken[0]), stderr=b"".join(taken[1]))


def _environment(env: Mapping[str, str]) -> Iterator[bytes]:
    for name, value in env.items():
        if not name or "=" in name:
            raise ValueError(f"{name!r} is not a name of an environment variable")
        yield os.fsencode(name) + b"=" + os.fsencode(value)


def wait(id: int, timeout: Limit = None) -> Result:
    """Waits for a child that `create` or `run` started, and reaps it. If it still runs at the
    timeout, in seconds or a timedelta, the result has `end == End.RUNNING`. Ctrl-C ends the wait,
    not the child."""
    result = sized(c.MIROVAN_COMMAND_RESULT)
    end = math.inf if timeout is None else time.monotonic() + milliseconds(timeout) / 1000
    while True:
        left = max(0, end - time.monotonic())
        call("wait", id, "Mirovan_Process_Wait", id, milliseconds(min(left, 0.05)), result)
        if result.nEnd != End.RUNNING or left <= 0.05:
            return fill(Result, result)


@dataclass(frozen=True)
class Record:
    """A process; None for what is unknown or the system does not let this process see. Sizes are in
    bytes, `user_id` is the effective one, `start_time` (in UTC) and `id` together name a process,
    since ids are reused. `state`: R running, S sleeping, D sleeping uninterruptibly, I idle, T
    stopped, Z ended and not reaped."""

    id: int = field("nProcessId")
    parent: Optional[int] = field("nParentId", c.PROCESS_PARENT)
    user_id: Optional[int] = field("nUserId", c.PROCESS_USER)
    name: Optional[str] = field("tszName", c.PROCESS_NAME)
    state: Optional[str] = field("cState", c.PROCESS_STATE)
    nice: Optional[int] = field("nNice", c.PROCESS_NICE)
    start_time: Optional[datetime] = field("nStartTime", c.PROCESS_START_TIME, when)
    threads: Optional[int] = field("nThreadCount", c.PROCESS_THREADS)
    resident_size: Optional[int] = field("nResidentSize", c.PROCESS_MEMORY)
    virtual_size: Optional[int] = field("nVirtualSize", c.PROCESS_MEMORY)
    user_time: Optional[timedelta] = field("nUserTime", c.PROCESS_PROCESSOR_TIME, span)
    system_time: Optional[timedelta] = field("nSystemTime", c.PROCESS_PROCESSOR_TIME, span)
    page_faults: Optional[int] = field("nPageFaults", c.PROCESS_PAGE_FAULTS)


def record(id: int = 0) -> Record:
    """The record of one process."""
    return query(Record, "record", id, "Mirovan_Process_GetRecord", id,
                 sized(c.MIROVAN_PROCESS_RECORD))


def processes() -> List[Record]:
    """A record of each process."""
    found: List[Record] = []
    call_with(lambda each: found.append(fill(Record, each.contents)), "processes", "",
              "Mirovan_Process_List")
    return found


class UsageSampler:
    """Measures how much a process uses the processors, from its construction, or the last `usage`,
    on. An id of 0 is the calling process."""

    def __init__(self, id: int = 0) -> None:
        self.id = id or os.getpid()
        self._last = self._sample()

    def __enter__(self) -> UsageSampler:
        return self

    def __exit__(self, *_reason: Any) -> None:
        pass

    def _sample(self) -> Tuple[int, int, Optional[int]]:
        found = sized(c.MIROVAN_PROCESS_RECORD)
        call("usage", self.id, "Mirovan_Process_GetRecord", self.id, found)
        used = found.nUserTime + found.nSystemTime
        known = found.nKnown & c.PROCESS_PROCESSOR_TIME
        return found.nStartTime, time.monotonic_ns(), used if known else None

    def usage(self) -> Optional[float]:
        """The number of processors that it has used since the last call, such as 1.5; None if the
        process has ended, another one has its id, or the system does not report its times."""
        try:
            now = self._sample()
        except ProcessLookupError:
            return None
        (start, then, used), self._last = self._last, now
        if now[0] != start or used is None or now[2] is None:
            return None
        return (now[2] - used) / (now[1] - then)


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
