"""The machine."""

from __future__ import annotations

import os
from ctypes import byref, c_int
from dataclasses import dataclass
from enum import IntEnum
from typing import List

from . import _native
from ._native import PathLike, call, encode


class FileSystem(IntEnum):
    """The kinds of file systems that `volume` tells apart."""

    OTHER = 0
    FAT = 1
    NTFS = 2
    EXT = 4
    APFS = 5


@dataclass(frozen=True)
class Volume:
    """Sizes in bytes; `available` is what an ordinary user may still fill."""

    kind: FileSystem
    size: int
    available: int


@dataclass(frozen=True)
class Processor:
    """The processor; what the machine does not tell is empty or 0."""

    name: str
    model: str
    megahertz: int
    online: int
    threads: int


@dataclass(frozen=True)
class Serials:
    """Identifiers of the machine; those that it does not tell are empty."""

    platform: str
    system: str
    volume_uuid: str
    hardware_uuid: str


def volume(path: PathLike) -> Volume:
    """The volume that holds a path."""
    record = _native.Disk()
    call("volume", path, "Mirovan_HardWare_GetDiskInfomation", encode(path), byref(record), 1)
    return Volume(FileSystem(record.kind), record.total, record.free)


def volume_names() -> List[str]:
    """Names of the writable volumes; on macOS this takes seconds."""
    rows, count = _native.Rows(), c_int()
    call("volume_names", "", "Mirovan_HardWare_GetDiskNumber", byref(rows), byref(count))
    return _native.take_rows(rows, count.value)


def processor() -> Processor:
    """Name, model and counts; on macOS this takes seconds."""
    record = _native.Cpu()
    call("processor", "", "Mirovan_HardWare_GetCpuInfomation", byref(record))
    return Processor(os.fsdecode(record.name), os.fsdecode(record.model), record.megahertz,
                     record.online, record.threads)


def serials() -> Serials:
    """Identifiers of the machine, from four commands."""
    record = _native.Serials()
    call("serials", "", "Mirovan_HardWare_GetSerial", byref(record))
    return Serials(*(os.fsdecode(text).rstrip("\n") for text in (
        record.platform, record.system, record.volume_uuid, record.hardware_uuid)))
