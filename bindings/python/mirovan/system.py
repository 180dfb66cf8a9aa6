"""The operating system."""

from __future__ import annotations

import ctypes
import math
import os
from ctypes import byref, c_int, c_ulong, create_string_buffer
from dataclasses import dataclass
from datetime import datetime, timedelta
from enum import IntEnum
from typing import Union

from . import _native
from ._native import call, encode, local_time, number


@dataclass(frozen=True)
class Version:
    """The system's name and its kernel's release."""

    name: str
    release: str
    code_name: str
    type: int


@dataclass(frozen=True)
class Memory:
    """Physical memory in bytes, and the free share in whole percent."""

    total: int
    free: int
    free_percent: int


@dataclass(frozen=True)
class Screen:
    """Size of the main display in pixels; 0 by 0 without one."""

    width: int
    height: int


class Action(IntEnum):
    """What `shutdown` can do."""

    HALT = 0x10001
    DISPLAY_OFF = 0x10002
    RESTART = 0x10003
    END_USER_PROCESSES = 0x10004
    LOCK_SCREEN = 0x10005


def version() -> Version:
    """Name and release of the system."""
    name, release, code_name = (create_string_buffer(size) for size in (256, 256, 8))
    type = c_ulong()
    call("version", "", "Mirovan_System_GetSystemVer", name, release, code_name, byref(type), None)
    return Version(os.fsdecode(name.value), os.fsdecode(release.value),
                   os.fsdecode(code_name.value), type.value)


def user_name() -> str:
    """Login name of the effective user; empty without an account."""
    name = create_string_buffer(_native.PATH_SIZE)
    call("user_name", "", "Mirovan_System_GetSysName", name, None)
    return os.fsdecode(name.value)


def host_name() -> str:
    """Name of this host."""
    name = create_string_buffer(_native.PATH_SIZE)
    call("host_name", "", "Mirovan_System_GetSysName", None, name)
    return os.fsdecode(name.value)


def memory() -> Memory:
    """Physical memory and what of it is free."""
    record = _native.Memory()
    call("memory", "", "Mirovan_System_GetMemoryUsage", byref(record), 1)
    return Memory(record.total, record.free, record.free_percent)


def cpu_load() -> int:
    """Load of all processes together, in percent of one processor."""
    return number("cpu_load", "", "Mirovan_System_GetCpuUsage")


def idle_percent() -> int:
    """Share of the time since the start that the processors were idle."""
    percent = c_ulong()
    call("idle_percent", "", "Mirovan_System_GetSysIdleTime", byref(percent))
    return percent.value


def start_time() -> datetime:
    """When the system started, in local time."""
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
    """The variable LANG as the C library sees it, or an empty text."""
    get = ctypes.CDLL(None).getenv
    get.restype = ctypes.c_char_p
    buffer = create_string_buffer(len(get(b"LANG") or b"") + 1)
    call("language", "", "Mirovan_System_GetLanguage", buffer)
    return os.fsdecode(buffer.value)


def shutdown(action: Action) -> None:
    """Halts, restarts, turns the display off, locks it, or ends a user's processes."""
    call("shutdown", "", "Mirovan_System_Shutdown", action)


def run(command: Union[str, bytes], limit: Union[timedelta, float]) -> None:
    """Runs a shell command and waits for it; kills it at the limit, in seconds or a timedelta.

    The limit counts whole seconds: a part of one is given in full.
    """
    seconds = limit.total_seconds() if isinstance(limit, timedelta) else limit
    call("run", command, "Mirovan_System_SystemEx", encode(command),
         math.ceil(max(0, min(seconds, 0x7FFFFFFF))))
