"""Files and folders."""

from __future__ import annotations

from ctypes import byref, c_int
from dataclasses import dataclass
from datetime import datetime, timezone
from enum import IntEnum
from typing import List, Union

from . import _native
from ._native import PathLike, call, encode
from .codes import ErrorCode


@dataclass(frozen=True)
class Attributes:
    """Size, times (in UTC) and flags; `changed` is the last change of the status."""

    size: int
    changed: datetime
    accessed: datetime
    modified: datetime
    is_file: bool
    is_hidden: bool
    is_readable: bool


class Kind(IntEnum):
    """What `list` lists."""

    FILES = 1
    FOLDERS = 2
    ALL = 3


def attributes(path: PathLike) -> Attributes:
    """What the file system knows of a file or folder; links are followed."""
    record = _native.FileAttributes()
    call("attributes", path, "Mirovan_File_GetFileAttrA", encode(path), byref(record))

    def time(seconds: int) -> datetime:
        return datetime.fromtimestamp(seconds, timezone.utc)

    return Attributes(record.size, time(record.changed), time(record.accessed),
                      time(record.modified), record.is_file, record.is_hidden, record.is_readable)


def create_folders(path: PathLike) -> None:
    """Makes sure that a folder exists, and every folder above it."""
    call("create_folders", path, "Mirovan_File_CreateMutilFolderA", encode(path))


def delete_folder(path: PathLike) -> None:
    """Deletes a folder and all that is in it; links are removed, never followed."""
    call("delete_folder", path, "Mirovan_File_DeleteMutilFolderA", encode(path), True)


def empty_folder(path: PathLike) -> None:
    """Deletes what is in a folder and keeps the folder."""
    call("empty_folder", path, "Mirovan_File_DeleteMutilFolderA", encode(path), False)


def save(path: PathLike, content: Union[bytes, bytearray, memoryview]) -> None:
    """Makes a file of these bytes, and its folder; at most 2 GiB less one byte."""
    data = bytes(content)
    if len(data) > 0x7FFFFFFF:
        raise OverflowError("more bytes than one file can be saved with")
    call("save", path, "Mirovan_File_SaveBuffToFileA", encode(path), data, len(data))


def create_zero_filled(path: PathLike, size: int) -> None:
    """Makes a file of zero bytes, each of them written."""
    call("create_zero_filled", path, "Mirovan_File_CreateSparseFileA", encode(path), size)


def copy(source: PathLike, destination: PathLike, *, replace: bool = True) -> None:
    """Copies content and permission bits; makes the folder of the destination."""
    paths = encode(source), encode(destination)
    call("copy", b" to ".join(paths), "Mirovan_File_CopyFileA", *paths, not replace)


def list(folder_or_pattern: PathLike, kind: Kind = Kind.FILES, *,
         recurse: bool = False) -> List[str]:
    """The paths in a folder, or in the tree below it; finding nothing is no failure.

    In a whole tree a name that is no UTF-8 is one.
    """
    rows, count = _native.Rows(), c_int()
    try:
        call("list", folder_or_pattern, "Mirovan_File_EnumFileA", encode(folder_or_pattern),
             byref(rows), byref(count), recurse, kind)
    except _native.Error as error:
        if error.code != ErrorCode.FILE_ENUM_EMPTY:
            raise
        return []
    return _native.take_rows(rows, count.value)
