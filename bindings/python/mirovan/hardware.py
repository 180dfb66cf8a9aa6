"""Queries of the hardware."""

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
    """The file systems that `volume` distinguishes."""

    OTHER = c.FILE_SYSTEM_OTHER
    FAT = c.FILE_SYSTEM_FAT
    NTFS = c.FILE_SYSTEM_NTFS
    EXT = c.FILE_SYSTEM_EXT
    APFS = c.FILE_SYSTEM_APFS


@dataclass(frozen=True)
class Volume:
    """File system and sizes of a volume in bytes, from `volume`; `available` is the space available
    to an unprivileged user."""

    kind: FileSystem = field("nFileSystem", convert=FileSystem)
    size: int = field("nDiskTotal")
    available: int = field("nDiskFree")


@dataclass(frozen=True)
class VolumeDetails:
    """A mounted volume, from `volumes`, with sizes in bytes; unknown values are None."""

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
    """The processor, from `processor`. Unknown strings are empty, unknown numbers 0, and `online`
    is -1."""

    name: str = field("tszProcessorName")
    model: str = field("tszModelIdentifier")
    megahertz: int = field("nProcessorSpeed")
    online: int = field("nProcessorOnline")
    threads: int = field("nHardwareThreads")


def _line(text: bytes) -> str:
    return os.fsdecode(text).rstrip("\n")


@dataclass(frozen=True)
class Serials:
    """Identifiers of the machine, from `serials`; unknown ones are empty."""

    platform: str = field("tszPlatformSerial", convert=_line)
    system: str = field("tszSystemSerial", convert=_line)
    volume_uuid: str = field("tszVolumeUUID", convert=_line)
    hardware_uuid: str = field("tszHardwareUUID", convert=_line)


def volume(path: PathLike) -> Volume:
    """Returns the file system and the size of the volume that holds a path.

    Args:
        path: an existing path on the volume.

    Raises:
        Error: HARDWARE_DISK_STATFS if the volume cannot be read.

    Example:
        >>> volume = mirovan.hardware.volume("/")
        >>> 0 <= volume.available <= volume.size
        True
    """
    return query(Volume, "volume", (path,), "Mirovan_HardWare_GetDiskInfomation", encode(path),
                 c.tag_Mirovan_Disk_Information(), c.UNIT_BYTE)


def volumes(*, network_sizes: bool = False, all_mounts: bool = False) -> List[VolumeDetails]:
    """Returns the mounted volumes, each once.

    Args:
        network_sizes: whether to read the sizes of network volumes, which blocks if a server does
            not respond.
        all_mounts: whether to include kernel file systems and further mount points of a volume.

    Raises:
        Error: HARDWARE_VOLUMES_FAILED if the list cannot be read.
    """
    found: List[VolumeDetails] = []
    flags = ((c.VOLUMES_NETWORK_SIZES if network_sizes else 0)
             | (c.VOLUMES_ALL_MOUNTS if all_mounts else 0))
    call_with(lambda record: found.append(fill(VolumeDetails, record.contents)), "volumes", "",
              "Mirovan_HardWare_ListVolumes", flags)
    return found


def volume_names() -> List[str]:
    """Returns the names of the writable volumes in the storage report of the system.

    The names are not always paths, and on macOS the report takes seconds: `volumes` returns mount
    points.

    Raises:
        Error: HARDWARE_PARAMETER if the report is unavailable.
    """
    rows, count = _native.Rows(), c_int()
    call("volume_names", "", "Mirovan_HardWare_GetDiskNumber", byref(rows), byref(count))
    return _native.take_rows(rows, count.value)


def processor() -> Processor:
    """Returns the name of the processor, the model identifier and the processor counts; on macOS
    this takes seconds.

    Raises:
        Error: HARDWARE_PARAMETER if the report of the system is unavailable.
    """
    return query(Processor, "processor", "", "Mirovan_HardWare_GetCpuInfomation",
                 c.tag_Mirovan_Cpu_Information())


def serials() -> Serials:
    """Returns the serial numbers and UUIDs of the machine. A command runs for each; on Linux only
    root can read the serial numbers.

    Raises:
        Error: HARDWARE_PARAMETER if memory runs out.
    """
    return query(Serials, "serials", "", "Mirovan_HardWare_GetSerial",
                 c.tag_Mirovan_SdkSerial_Information())
