"""The operating system."""

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
    """The system's name and its kernel's release."""

    name: str
    release: str
    code_name: str
    type: int


@dataclass(frozen=True)
class Memory:
    """Physical memory in bytes, and the free part in whole percent."""

    total: int = field("nTotalMemory")
    free: int = field("nFreeMemory")
    free_percent: int = field("nFreePercent")


@dataclass(frozen=True)
class MemoryDetails:
    """The memory in bytes; None for what is unknown. `available` is what programs may still take
    without swapping, `process_limit` the limit on the control group of this process."""

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
    """What this system is; None for what is unknown. `start_time` is in UTC, `processors_usable`
    counts those that this process may use."""

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
    """How a processor has spent its time since the system started; None for what is unknown."""

    user: Optional[timedelta] = field("nUser", c.PROCESSOR_TIMES_KNOWN_USER, span)
    nice: Optional[timedelta] = field("nNice", c.PROCESSOR_TIMES_KNOWN_NICE, span)
    system: Optional[timedelta] = field("nSystem", c.PROCESSOR_TIMES_KNOWN_SYSTEM, span)
    idle: Optional[timedelta] = field("nIdle", c.PROCESSOR_TIMES_KNOWN_IDLE, span)


@dataclass(frozen=True)
class AllProcessorTimes:
    """The times of all processors together, and of each one in the order of their numbers."""

    total: ProcessorTimes
    each: List[ProcessorTimes]


@dataclass(frozen=True)
class Load:
    """The part of the time that the processors were busy, 0 to 1: of all together, and of each one;
    None if an offline processor, or the kernel's clock (10 ms), did not go on meanwhile."""

    total: Optional[float]
    each: List[Optional[float]]


@dataclass(frozen=True)
class Screen:
    """Size of the main display in pixels; 0 by 0 without one."""

    width: int
    height: int


class Action(IntEnum):
    """What `shutdown` can do."""

    HALT = c.SHUTDOWN_HALT
    DISPLAY_OFF = c.SHUTDOWN_DISPLAY_OFF
    RESTART = c.SHUTDOWN_RESTART
    END_USER_PROCESSES = c.SHUTDOWN_END_USER
    LOCK_SCREEN = c.SHUTDOWN_LOCK_SCREEN


def version() -> Version:
    """Name and release of the system."""
    name, release, code_name = (create_string_buffer(size) for size in (256, 256, 8))
    type = c_ulong()
    call("version", "", "Mirovan_System_GetSystemVer", name, release, code_name, byref(type), None)
    return Version(os.fsdecode(name.value), os.fsdecode(release.value),
                   os.fsdecode(code_name.value), type.value)


def user_name() -> str:
    """Login name of the effective user; empty without an account."""
    name = create_string_buffer(c.PATH_SIZE)
    call("user_name", "", "Mirovan_System_GetSysName", name, None)
    return os.fsdecode(name.value)


def host_name() -> str:
    """Name of this host."""
    name = create_string_buffer(c.PATH_SIZE)
    call("host_name", "", "Mirovan_System_GetSysName", None, name)
    return os.fsdecode(name.value)


def memory() -> Memory:
    """Physical memory and what of it is free; `memory_details` has what is available."""
    return query(Memory, "memory", "", "Mirovan_System_GetMemoryUsage",
                 c.tag_Mirovan_Memory_Infomation(), c.UNIT_BYTE)


def memory_details() -> MemoryDetails:
    """Physical memory, swap space, and the limit that holds for this process."""
    return query(MemoryDetails, "memory_details", "", "Mirovan_System_GetMemoryRecord",
                 sized(c.MIROVAN_MEMORY_RECORD))


def identity() -> Identity:
    """Names and versions of the system, its start, its page size and its processors."""
    return query(Identity, "identity", "", "Mirovan_System_GetIdentity", sized(c.MIROVAN_IDENTITY))


def processor_times() -> AllProcessorTimes:
    """How the processors have spent their time since the system started."""
    total, *each = _times(lambda record: fill(ProcessorTimes, record))
    return AllProcessorTimes(total, each)


def _times(convert: Any) -> List[Any]:
    found: List[Any] = []
    call_with(lambda record: found.append(convert(record.contents)), "processor_times", "",
              "Mirovan_System_GetProcessorTimes")
    return found


class LoadSampler:
    """Measures the load of the processors from its construction, or the last `load`, on."""

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
        """The load since the construction or the last call."""
        last, self._last = self._last, self._sample()
        total, *each = ((now[0] - then[0]) / (now[1] - then[1]) if now[1] > then[1] else None
                        for now, then in zip(self._last, last))
        return Load(total, each)


def cpu_load() -> int:
    """Load of all processes together over their lifetimes, in percent of one processor;
    `LoadSampler` has that of the moment."""
    return number("cpu_load", "", "Mirovan_System_GetCpuUsage")


def idle_percent() -> int:
    """Share of the time since the start that the processors were idle."""
    percent = c_ulong()
    call("idle_percent", "", "Mirovan_System_GetSysIdleTime", byref(percent))
    return percent.value


def start_time() -> datetime:
    """When the system started, in local time, to the second; `identity` has it in UTC."""
    return local_time("", "Mirovan_System_GetUpTime")


def processor_count() -> int:
    """Number of processors."""
    return number("processor_count", "", "Mirovan_System_GetProcessCount")


def screen() -> Screen:
    """Size of the main display."""
    width, height = c_int(), c_int()
    call("screen", "", "Mirovan_System_GetScreen", byref(width), byref(height))
    return Screen(width.value, height.value)


def language() -> str:
    """The environment variable LANG as the C library sees it; empty if it is not set."""
    # PyDLL keeps the interpreter lock, so no other thread of Python changes the variable meanwhile.
    get = ctypes.PyDLL(None).getenv
    get.restype = ctypes.c_char_p
    return os.fsdecode(get(b"LANG") or b"")


def shutdown(action: Action) -> None:
    """Halts, restarts, turns the display off, locks it, or ends a user's processes."""
    call("shutdown", "", "Mirovan_System_Shutdown", action)


def run(command: Union[str, bytes], limit: Union[timedelta, float]) -> None:
    """Runs a shell command and waits for it; kills the shell at the limit, in seconds or a
    timedelta.

    The limit is in whole seconds: a fraction counts as a whole one. A limit of 0 or less kills a
    command that has not ended at once. Ctrl-C is ignored meanwhile. `process.execute` has limits
    in milliseconds, ends by Ctrl-C and says how the command ended.
    """
    call("run", command, "Mirovan_System_SystemEx", encode(command),
         math.ceil(max(0, min(seconds(limit), 0x7FFFFFFF))))
