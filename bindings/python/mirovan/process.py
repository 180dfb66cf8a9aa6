"""Operations on processes and commands. A process id of 0 is the calling process."""

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
    """How a command ended and what it used, from `execute` and `wait`; unknown values are None.
    Processor times include those of the children that the command reaped, `peak_memory` is in
    bytes."""

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
        `returncode` in subprocess; None if unknown."""
        return -self.signal if self.signal else self.exit_status

    @property
    def ok(self) -> bool:
        """Whether the command ended by itself with exit status 0."""
        return self.end == End.EXITED and self.exit_status == 0

    @property
    def output(self) -> str:
        """`stdout` as a string, with undecodable bytes as surrogates."""
        return os.fsdecode(self.stdout)

    @property
    def errors(self) -> str:
        """`stderr` as a string, with undecodable bytes as surrogates."""
        return os.fsdecode(self.stderr)


def execute(command: Union[Sequence[PathLike], str, bytes], *, shell: bool = False,
            timeout: Limit = None, grace: Union[timedelta, float] = 0.1,
            input: Union[bytes, str] = b"", cwd: Optional[PathLike] = None,
            env: Optional[Mapping[str, str]] = None, capture: bool = True,
            merge_errors: bool = False, on_output: Optional[Receive] = None,
            on_errors: Optional[Receive] = None) -> Result:
    r"""Runs a program and waits for it.

    Ctrl-C, or an exception from `on_output` or `on_errors`, ends the command and is raised.

    Args:
        command: the program, which is searched for on PATH, and its arguments; with `shell`, a
            command line for /bin/sh, which must not be built from untrusted text.
        shell: whether `command` is a command line.
        timeout: limit in seconds, or a timedelta. At the limit the command and the processes that
            it started receive SIGTERM, and the result has `end == End.LIMIT`.
        grace: time from SIGTERM to SIGKILL, in seconds, or a timedelta.
        input: bytes or string for stdin.
        cwd: working directory; None for that of the caller.
        env: environment; None for that of the caller.
        capture: whether to return the output; otherwise stdout and stderr are inherited.
        merge_errors: whether to redirect stderr to stdout.
        on_output: receives stdout in chunks as it arrives; returns False to end the command.
        on_errors: receives stderr likewise.

    Returns:
        How the command ended, and its output, byte for byte.

    Raises:
        Error: PROCESS_EXECUTE_FAILED if the program cannot be started (FileNotFoundError,
            PermissionError).

    Example:
        >>> mirovan.execute(["sort"], input="b\na\n", timeout=5).output
        'a\nb\n'
        >>> mirovan.execute("exit 3", shell=True).status
        3
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
    """Waits for a child that `create` or `run` started, and reaps it. Ctrl-C ends the wait, not the
    child.

    Args:
        id: process id of the child.
        timeout: longest time to wait, in seconds, or a timedelta; None for no limit.

    Returns:
        How the child ended; `end == End.RUNNING` if it still runs.

    Raises:
        Error: PROCESS_WAIT_FAILED (ChildProcessError) if it is not a child of this process, or has
            been reaped already.

    Example:
        >>> mirovan.wait(mirovan.process.create("/bin/true")).ok
        True
    """
    result = sized(c.MIROVAN_COMMAND_RESULT)
    end = math.inf if timeout is None else time.monotonic() + milliseconds(timeout) / 1000
    while True:
        left = max(0, end - time.monotonic())
        call("wait", id, "Mirovan_Process_Wait", id, milliseconds(min(left, 0.05)), result)
        if result.nEnd != End.RUNNING or left <= 0.05:
            return fill(Result, result)


@dataclass(frozen=True)
class Record:
    """A process, from `processes` and `record`; values that are unknown, or not shown to this
    process, are None. Sizes are in bytes, `user_id` is the effective one. Ids are reused: `id` and
    `start_time` (in UTC) together identify a process. `state` is R running, S sleeping, D sleeping
    uninterruptibly, I idle, T stopped or Z ended and not reaped."""

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
    """Returns the record of one process.

    Args:
        id: process id; 0 for the calling process.

    Raises:
        Error: PROCESS_RECORD_FAILED if there is no such process (ProcessLookupError) or it cannot
            be read.

    Example:
        >>> mirovan.process.record().parent == os.getppid()
        True
    """
    return query(Record, "record", id, "Mirovan_Process_GetRecord", id,
                 sized(c.MIROVAN_PROCESS_RECORD))


def processes() -> List[Record]:
    """Returns a record of each process.

    Raises:
        Error: PROCESS_LIST_FAILED if the processes cannot be listed.
    """
    found: List[Record] = []
    call_with(lambda each: found.append(fill(Record, each.contents)), "processes", "",
              "Mirovan_Process_List")
    return found


class UsageSampler:
    """Measures the processor usage of a process, from the construction or the last call of `usage`.

    Args:
        id: process id; 0 for the calling process.

    Raises:
        Error: PROCESS_RECORD_FAILED if there is no such process (ProcessLookupError).

    Example:
        >>> with mirovan.UsageSampler() as sampler:
        ...     sampler.usage() >= 0
        True
    """

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
        """Returns the number of processors used since the last call, such as 1.5; None if the
        process has ended, its id has been reused, or the system does not report its times."""
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
    """A snapshot of a process, from `info`; sizes in bytes, modulo 16 GiB."""

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
    """Runs a shell command and passes lines of its output to a function.

    A line of more than 2,047 bytes is passed in chunks; each chunk is truncated at a null byte. An
    exception in the function ends the reading and is raised here. Ctrl-C ends it at the next line.

    Args:
        command: command line for /bin/sh.
        receive: receives each line with its newline; returns False to stop.
        count: number of lines; 0 for all.
        first: number of the first line, from 1.

    Raises:
        Error: PROCESS_ACCESS if the shell cannot be started or its output cannot be read.
    """
    call_with(lambda chunk: receive(string_at(chunk)), "output", command,
              "Mirovan_Process_ReadCmdLines", encode(command), count, first)


def output_bytes(command: Command, *, count: int = 0, first: int = 1) -> bytes:
    """Runs a shell command and returns lines of its output, of any length.

    Lines, or chunks of 2,047 bytes of a longer one, are truncated at a null byte; `execute` returns
    every byte, and the exit status. Ctrl-C ends the wait at once; the command, which the terminal
    interrupts too, may continue to run.

    Args:
        command: command line for /bin/sh.
        count: number of lines; 0 for all.
        first: number of the first line, from 1.

    Raises:
        Error: PROCESS_ACCESS if the shell cannot be started or its output cannot be read.
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
    r"""Like `output_bytes`, but returns a string, with undecodable bytes as surrogates.

    Example:
        >>> mirovan.process.output("echo one; echo two", first=2)
        'two\n'
    """
    return os.fsdecode(output_bytes(command, count=count, first=first))


def info(id: int = 0) -> Info:
    """Returns a snapshot of a process; `record` returns exact values.

    Args:
        id: process id; 0 for the calling process.

    Raises:
        Error: PROCESS_INFO_FAILED if the process cannot be read, or its user has no account.
    """
    return query(Info, "info", id, "Mirovan_Process_GetProcessInfo",
                 c.tag_Mirovan_Process_Infomation(), None, id or os.getpid())


def cpu_usage(id: int = 0) -> int:
    """Returns the processor usage of a process in thousandths of a processor.

    On Linux it is the average over the lifetime of the process; `UsageSampler` measures an
    interval.

    Args:
        id: process id; 0 for the calling process.

    Raises:
        Error: PROCESS_ACCESS if the process cannot be read.
    """
    return number("cpu_usage", id, "Mirovan_Process_GetProcessCpuUsage", id)


def start_time(id: int = 0) -> datetime:
    """Returns the start time of a process in local time, in whole seconds; `record` has it in UTC.

    Args:
        id: process id; 0 for the calling process.

    Raises:
        Error: PROCESS_ACCESS if the process cannot be read.
    """
    return local_time(id, "Mirovan_Process_GetUpTime", id)


def path(id: int = 0) -> str:
    """Returns the full path of the program that a process runs.

    Args:
        id: process id; 0 for the calling process.

    Raises:
        Error: PROCESS_GET_FAILED if the path cannot be read.
    """
    buffer = create_string_buffer(c.PATH_SIZE)
    call("path", id, "Mirovan_Process_GetPath", buffer, id)
    return os.fsdecode(buffer.value)


def is_admin() -> bool:
    """Returns whether this process runs as root."""
    return bool(library.Mirovan_Process_IsAdmin())


def priority(id: int = 0) -> int:
    """Returns the priority (nice value) of a process, -20 (scheduled first) to 20 (scheduled last).

    Args:
        id: process id; 0 for the calling process.

    Raises:
        Error: PROCESS_GETPRIORITY_FAILED if there is no such process (ProcessLookupError).
    """
    return number("priority", id, "Mirovan_Process_GetPriority", id)


def set_priority(value: int, id: int = 0) -> None:
    """Sets the priority (nice value) of a process.

    Args:
        value: -20 (scheduled first) to 20 (scheduled last).
        id: process id; 0 for the calling process.

    Raises:
        Error: PROCESS_SETPRIORITY_RANGE for a value outside the range; PROCESS_SETPRIORITY_FAILED
            if there is no such process, or it is not permitted (PermissionError).
    """
    call("set_priority", id, "Mirovan_Process_SetPriority", value, id)


def stop(id: int) -> None:
    """Interrupts a process (SIGINT) and, if it is a child of this one, waits until it ends.

    Args:
        id: process id, above 0.

    Raises:
        Error: PROCESS_STOP_KILL if there is no such process (ProcessLookupError); PROCESS_ACCESS if
            it is not permitted (PermissionError).
    """
    call("stop", id, "Mirovan_Process_Stop", None, id, False)


def stop_matching(pattern: str) -> None:
    """Interrupts the first process whose line in the output of ps matches a pattern, as `stop`
    does.

    Args:
        pattern: a grep pattern, at most 974 bytes; an empty one matches nothing.

    Raises:
        Error: PROCESS_NOTFOUND if no process matches; PROCESS_STOP_FIND if ps cannot be run or the
            pattern is too long; PROCESS_ACCESS if it is not permitted.
    """
    call("stop_matching", pattern, "Mirovan_Process_Stop", encode(pattern), 0, False)


def create(program: PathLike, arguments: str = "") -> int:
    """Starts a program with an empty environment and returns its process id; does not wait for it.
    `wait` must reap it.

    Args:
        program: path of the program; PATH is not searched.
        arguments: its arguments, separated by spaces; quotes have no special meaning.

    Raises:
        Error: PROCESS_EXEC if the program cannot be started (FileNotFoundError, PermissionError).
    """
    id = c_ulong()
    call("create", (program,), "Mirovan_Process_CreateProcess", byref(id), encode(program),
         encode(arguments), False)
    return id.value


def run(program: PathLike, name: str, argument: Optional[str] = None) -> int:
    """Starts a program with the environment of this process and returns its process id; does not
    wait for it. `wait` must reap it. A program that cannot be executed exits with status 127.

    Args:
        program: path of the program; PATH is not searched.
        name: its argument zero.
        argument: its first argument.

    Raises:
        Error: PROCESS_FORK if the process cannot be created.
    """
    id = c_ulong()
    call("run", (program,), "Mirovan_Process_RunProcess", byref(id), encode(program), encode(name),
         None if argument is None else encode(argument), False)
    return id.value


def affinity_tag(thread: Optional[int] = None) -> int:
    """Returns the affinity tag of a thread; 0 for no affinity.

    Args:
        thread: the `ident` of a thread; None for the calling one.

    Raises:
        Error: PROCESS_GET_FAILED if the tag cannot be read.
    """
    tag = c_ulong()
    call("affinity_tag", "", "Mirovan_Process_GetProcessForCpu",
         thread or threading.get_ident(), byref(tag))
    return c_long(tag.value).value


def set_affinity_tag(tag: int, thread: Optional[int] = None) -> None:
    """Sets the affinity tag of a thread; macOS tries to run threads of one tag on processors that
    share a cache.

    Args:
        tag: the tag; 0 for no affinity.
        thread: the `ident` of a thread; None for the calling one.

    Raises:
        Error: PROCESS_SETCPU_FAILED if the tag cannot be set.
    """
    call("set_affinity_tag", "", "Mirovan_Process_SetProcessForCpu",
         thread or threading.get_ident(), tag)
