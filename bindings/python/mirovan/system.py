"""Queries of the operating system and actions on it."""

from __future__ import annotations

import ctypes
import math
import os
from ctypes import byref, c_int, c_ulong, create_string_buffer
from dataclasses import dataclass
from datetime import datetime, timedelta
from enum import IntEnum
from typing import Any, List, Optional, Union

from . import _generated as c
from ._native import call, call_with, encode, field, fill, local_time, number, query, seconds
from ._native import sized, span, when


@dataclass(frozen=True)
class Version:
    """Name of the system and release of its kernel, from `version`; `code_name` is "ventura" and
    `type` is 2 on every system."""

    name: str
    release: str
    code_name: str
    type: int


@dataclass(frozen=True)
class Memory:
    """Physical memory in bytes, and the free part in whole percent, from `memory`."""

    total: int = field("nTotalMemory")
    free: int = field("nFreeMemory")
    free_percent: int = field("nFreePercent")


@dataclass(frozen=True)
class MemoryDetails:
    """State of the memory in bytes, from `memory_details`; unknown values are None. `available` is
    what programs can still use without swapping, `process_limit` the limit of the control groups of
    this process."""

    total: Optional[int] = field("nTotal", c.MEMORY_KNOWN_TOTAL)
    available: Optional[int] = field("nAvailable", c.MEMORY_KNOWN_AVAILABLE)
    free: Optional[int] = field("nFree", c.MEMORY_KNOWN_FREE)
    wired: Optional[int] = field("nWired", c.MEMORY_KNOWN_WIRED)
    compressed: Optional[int] = field("nCompressed", c.MEMORY_KNOWN_COMPRESSED)
    cached: Optional[int] = field("nCached", c.MEMORY_KNOWN_CACHED)
    swap_total: Optional[int] = field("nSwapTotal", c.MEMORY_KNOWN_SWAP_TOTAL)
    swap_used: Optional[int] = field("nSwapUsed", c.MEMORY_KNOWN_SWAP_USED)
    process_limit: Optional[int] = field("nProcessLimit", c.MEMORY_KNOWN_PROCESS_LIMIT)


@dataclass(frozen=True)
class Identity:
    """Names, versions and counts of the system, from `identity`; unknown values are None.
    `start_time` is in UTC, `processors_usable` counts those that this process may use."""

    system_name: Optional[str] = field("tszSystemName", c.IDENTITY_KNOWN_SYSTEM_NAME)
    system_version: Optional[str] = field("tszSystemVersion", c.IDENTITY_KNOWN_SYSTEM_VERSION)
    kernel_name: Optional[str] = field("tszKernelName", c.IDENTITY_KNOWN_KERNEL_NAME)
    kernel_version: Optional[str] = field("tszKernelVersion", c.IDENTITY_KNOWN_KERNEL_VERSION)
    architecture: Optional[str] = field("tszArchitecture", c.IDENTITY_KNOWN_ARCHITECTURE)
    host_name: Optional[str] = field("tszHostName", c.IDENTITY_KNOWN_HOST_NAME)
    start_time: Optional[datetime] = field("nStartTime", c.IDENTITY_KNOWN_START_TIME, when)
    page_size: Optional[int] = field("nPageSize", c.IDENTITY_KNOWN_PAGE_SIZE)
    processors: Optional[int] = field("nProcessors", c.IDENTITY_KNOWN_PROCESSORS)
    processors_online: Optional[int] = field("nProcessorsOnline",
                                             c.IDENTITY_KNOWN_PROCESSORS_ONLINE)
    processors_usable: Optional[int] = field("nProcessorsUsable",
                                             c.IDENTITY_KNOWN_PROCESSORS_USABLE)


@dataclass(frozen=True)
class ProcessorTimes:
    """How a processor has spent its time since the start of the system; unknown values are None."""

    user: Optional[timedelta] = field("nUser", c.PROCESSOR_TIMES_KNOWN_USER, span)
    nice: Optional[timedelta] = field("nNice", c.PROCESSOR_TIMES_KNOWN_NICE, span)
    system: Optional[timedelta] = field("nSystem", c.PROCESSOR_TIMES_KNOWN_SYSTEM, span)
    idle: Optional[timedelta] = field("nIdle", c.PROCESSOR_TIMES_KNOWN_IDLE, span)


@dataclass(frozen=True)
class AllProcessorTimes:
    """The times of all processors together, and of each one in the order of their numbers, from
    `processor_times`."""

    total: ProcessorTimes
    each: List[ProcessorTimes]


@dataclass(frozen=True)
class Load:
    """The part of the time in which the processors were busy, 0 to 1, from `LoadSampler`: of all
    together, and of each one. None for an offline processor, or if the kernel's clock (10 ms) did
    not advance."""

    total: Optional[float]
    each: List[Optional[float]]


@dataclass(frozen=True)
class Screen:
    """Size of the main display, from `screen`: pixels on Linux, points on macOS; 0 by 0 without a
    display."""

    width: int
    height: int


class Action(IntEnum):
    """The actions of `shutdown`."""

    HALT = c.SHUTDOWN_HALT
    DISPLAY_OFF = c.SHUTDOWN_DISPLAY_OFF
    RESTART = c.SHUTDOWN_RESTART
    END_USER_PROCESSES = c.SHUTDOWN_END_USER
    LOCK_SCREEN = c.SHUTDOWN_LOCK_SCREEN


def version() -> Version:
    """Returns the name of the system and the release of its kernel; `identity` has the name and
    version of the distribution too.

    Raises:
        Error: SYSTEM_QUERY_FAILED if they cannot be read.
    """
    name, release, code_name = (create_string_buffer(size) for size in (256, 256, 8))
    type = c_ulong()
    call("version", "", "Mirovan_System_GetSystemVer", name, release, code_name, byref(type), None)
    return Version(os.fsdecode(name.value), os.fsdecode(release.value),
                   os.fsdecode(code_name.value), type.value)


def user_name() -> str:
    """Returns the login name of the effective user; an empty string if the user has no account."""
    name = create_string_buffer(c.PATH_SIZE)
    call("user_name", "", "Mirovan_System_GetSysName", name, None)
    return os.fsdecode(name.value)


def host_name() -> str:
    """Returns the host name."""
    name = create_string_buffer(c.PATH_SIZE)
    call("host_name", "", "Mirovan_System_GetSysName", None, name)
    return os.fsdecode(name.value)


def memory() -> Memory:
    """Returns the size of the physical memory, and how much of it is without content;
    `memory_details` also returns what programs can still use."""
    return query(Memory, "memory", "", "Mirovan_System_GetMemoryUsage",
                 c.tag_Mirovan_Memory_Infomation(), c.UNIT_BYTE)


def memory_details() -> MemoryDetails:
    """Returns the state of the physical memory and the swap space, and the memory limit of this
    process.

    Raises:
        Error: SYSTEM_MEMORY_RECORD_FAILED if the state of the memory cannot be read.

    Example:
        >>> memory = mirovan.system.memory_details()
        >>> memory.free <= memory.total
        True
    """
    return query(MemoryDetails, "memory_details", "", "Mirovan_System_GetMemoryRecord",
                 sized(c.MIROVAN_MEMORY_RECORD))


def identity() -> Identity:
    """Returns the names and versions of the system, its start time, its page size and its processor
    counts.

    Raises:
        Error: SYSTEM_IDENTITY_FAILED if the kernel's names cannot be read.

    Example:
        >>> mirovan.system.identity().processors_usable >= 1
        True
    """
    return query(Identity, "identity", "", "Mirovan_System_GetIdentity", sized(c.MIROVAN_IDENTITY))


def processor_times() -> AllProcessorTimes:
    """Returns how the processors have spent their time since the start of the system; `LoadSampler`
    measures the load in an interval.

    Raises:
        Error: SYSTEM_PROCESSOR_TIMES_FAILED if the times cannot be read.
    """
    total, *each = _times(lambda record: fill(ProcessorTimes, record))
    return AllProcessorTimes(total, each)


def _times(convert: Any) -> List[Any]:
    found: List[Any] = []
    call_with(lambda record: found.append(convert(record.contents)), "processor_times", "",
              "Mirovan_System_GetProcessorTimes")
    return found


class LoadSampler:
    """Measures the load of the processors, from the construction or the last call of `load`.

    Raises:
        Error: SYSTEM_PROCESSOR_TIMES_FAILED if the times cannot be read.

    Example:
        >>> with mirovan.LoadSampler() as sampler:
        ...     time.sleep(0.1)
        ...     0 <= sampler.load().total <= 1
        True
    """

    def __init__(self) -> None:
        self._last = self._sample()

    def __enter__(self) -> LoadSampler:
        return self

    def __exit__(self, *_reason: Any) -> None:
        pass

    @staticmethod
    def _sample() -> List[Any]:
        def busy_and_all(record: Any) -> Any:
            busy = record.nUser + record.nNice + record.nSystem
            return busy, busy + record.nIdle
        return _times(busy_and_all)

    def load(self) -> Load:
        """Returns the load since the construction or the last call."""
        last, self._last = self._last, self._sample()
        total, *each = ((now[0] - then[0]) / (now[1] - then[1]) if now[1] > then[1] else None
                        for now, then in zip(self._last, last))
        return Load(total, each)


def cpu_load() -> int:
    """Returns the load of all processes together, in percent of one processor, averaged over the
    lifetime of each process; `LoadSampler` measures an interval.

    Raises:
        Error: PROCESS_ACCESS if the shell cannot be started.
    """
    return number("cpu_load", "", "Mirovan_System_GetCpuUsage")


def idle_percent() -> int:
    """Returns how much of the time since the start of the system the processors were idle, in
    percent.

    Raises:
        Error: SYSTEM_IDLETIME_STATISTICS if the load statistics cannot be read.
    """
    percent = c_ulong()
    call("idle_percent", "", "Mirovan_System_GetSysIdleTime", byref(percent))
    return percent.value


def start_time() -> datetime:
    """Returns the start time of the system in local time, in whole seconds; `identity` has it in
    UTC.

    Raises:
        Error: SYSTEM_QUERY_FAILED if the time cannot be expressed in local time.
    """
    return local_time("", "Mirovan_System_GetUpTime")


def processor_count() -> int:
    """Returns the number of available processors; `identity` has the number that this process may
    use."""
    return number("processor_count", "", "Mirovan_System_GetProcessCount")


def screen() -> Screen:
    """Returns the size of the main display."""
    width, height = c_int(), c_int()
    call("screen", "", "Mirovan_System_GetScreen", byref(width), byref(height))
    return Screen(width.value, height.value)


def language() -> str:
    """Returns the environment variable LANG as the C library sees it; an empty string if it is not
    set."""
    # PyDLL keeps the interpreter lock, so no other thread of Python changes the variable meanwhile.
    get = ctypes.PyDLL(None).getenv
    get.restype = ctypes.c_char_p
    return os.fsdecode(get(b"LANG") or b"")


def shutdown(action: Action) -> None:
    """Halts or restarts the system, turns the display off, locks the screen, or ends the processes
    of the user who is logged in.

    Args:
        action: the action.

    Raises:
        Error: SYSTEM_QUERY_FAILED if the action fails (PermissionError without the right to halt or
            restart).
    """
    call("shutdown", "", "Mirovan_System_Shutdown", action)


def run(command: Union[str, bytes], limit: Union[timedelta, float]) -> None:
    """Runs a shell command and waits for it; kills the shell at a time limit.

    Ctrl-C is ignored meanwhile. `process.execute` has limits in milliseconds, ends at Ctrl-C, and
    returns how the command ended.

    Args:
        command: command line for /bin/sh.
        limit: limit in seconds, or a timedelta, rounded up to whole seconds; with 0 or less, a
            command that has not ended at once is killed.

    Raises:
        Error: SYSTEM_SYSTEMEX_FORK if the child process cannot be created; SYSTEM_SYSTEMEX_SIGNAL
            if the signals cannot be set up.
    """
    call("run", command, "Mirovan_System_SystemEx", encode(command),
         math.ceil(max(0, min(seconds(limit), 0x7FFFFFFF))))
