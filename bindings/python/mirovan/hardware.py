"""The machine."""

from __future__ import annotations

import os
from ctypes import byref, c_int
from dataclasses import dataclass
from enum import IntEnum
from typing import List, Optional

from . import _generated as c
from . import _native
from ._native import PathLike, call, call_with, encode, field, fill, query


class FileSystem(IntEnum):
    """The kinds of file systems that `volume` tells apart."""

    OTHER = c.FILE_SYSTEM_OTHER
    FAT = c.FILE_SYSTEM_FAT
    NTFS = c.FILE_SYSTEM_NTFS
    EXT = c.FILE_SYSTEM_EXT
    APFS = c.FILE_SYSTEM_APFS


@dataclass(frozen=True)
class Volume:
    """Sizes in bytes; `available` is what an unprivileged user may still fill."""

    kind: FileSystem = field("nFileSystem", convert=FileSystem)
    size: int = field("nDiskTotal")
    available: int = field("nDiskFree")


@dataclass(frozen=True)
class VolumeDetails:
    """A mounted volume, with sizes in bytes; None for what is unknown."""

    mount_point: Optional[str] = field("tszMountPoint", c.VOLUME_KNOWN_MOUNT_POINT)
    device: Optional[str] = field("tszDevice", c.VOLUME_KNOWN_DEVICE)
    type: Optional[str] = field("tszType", c.VOLUME_KNOWN_TYPE)
    label: Optional[str] = field("tszLabel", c.VOLUME_KNOWN_LABEL)
    total: Optional[int] = field("nTotal", c.VOLUME_KNOWN_TOTAL)
    free: Optional[int] = field("nFree", c.VOLUME_KNOWN_FREE)
    available: Optional[int] = field("nAvailable", c.VOLUME_KNOWN_AVAILABLE)
    read_only: Optional[bool] = field("bReadOnly", c.VOLUME_KNOWN_READ_ONLY)
    removable: Optional[bool] = field("bRemovable", c.VOLUME_KNOWN_REMOVABLE)
    local: Optional[bool] = field("bLocal", c.VOLUME_KNOWN_LOCAL)


@dataclass(frozen=True)
class Processor:
    """The processor. Without an answer of the machine, a string is empty, `megahertz` and `threads`
    are 0, and `online` is -1."""

    name: str = field("tszProcessorName")
    model: str = field("tszModelIdentifier")
    megahertz: int = field("nProcessorSpeed")
    online: int = field("nProcessorOnline")
    threads: int = field("nHardwareThreads")


def _line(text: bytes) -> str:
    return os.fsdecode(text).rstrip("\n")


@dataclass(frozen=True)
class Serials:
    """Identifiers of the machine; empty if unknown."""

    platform: str = field("tszPlatformSerial", convert=_line)
    system: str = field("tszSystemSerial", convert=_line)
    volume_uuid: str = field("tszVolumeUUID", convert=_line)
    hardware_uuid: str = field("tszHardwareUUID", convert=_line)


def volume(path: PathLike) -> Volume:
    """The volume that holds a path."""
    return query(Volume, "volume", (path,), "Mirovan_HardWare_GetDiskInfomation", encode(path),
                 c.tag_Mirovan_Disk_Information(), c.UNIT_BYTE)


def volumes(*, network_sizes: bool = False, all_mounts: bool = False) -> List[VolumeDetails]:
    """The mounted volumes, each once.

    `network_sizes` asks the servers of network volumes for their sizes, which blocks if one does
    not answer. `all_mounts` adds those of the kernel, and further places of a mounted volume.
    """
    found: List[VolumeDetails] = []
    flags = ((c.VOLUMES_NETWORK_SIZES if network_sizes else 0)
             | (c.VOLUMES_ALL_MOUNTS if all_mounts else 0))
    call_with(lambda record: found.append(fill(VolumeDetails, record.contents)), "volumes", "",
              "Mirovan_HardWare_ListVolumes", flags)
    return found


def volume_names() -> List[str]:
    """Names of the writable volumes from the system's report, for people and not always paths; on
    macOS this takes seconds. `volumes` has mount points."""
    rows, count = _native.Rows(), c_int()
    call("volume_names", "", "Mirovan_HardWare_GetDiskNumber", byref(rows), byref(count))
    return _native.take_rows(rows, count.value)


def processor() -> Processor:
    """Name, model and counts; on macOS this takes seconds."""
    return query(Processor, "processor", "", "Mirovan_HardWare_GetCpuInfomation",
                 c.tag_Mirovan_Cpu_Information())


def serials() -> Serials:
    """Identifiers of the machine, from four commands."""
    return query(Serials, "serials", "", "Mirovan_HardWare_GetSerial",
                 c.tag_Mirovan_SdkSerial_Information())
