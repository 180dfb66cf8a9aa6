"""Files and folders."""

from __future__ import annotations

import ctypes
import os
from ctypes import byref, c_int
from dataclasses import dataclass, field, replace
from datetime import datetime, timedelta, timezone
from enum import IntEnum
from typing import Iterator, List, Optional, Union

from . import _generated as c
from . import _native
from ._native import PathLike, call, call_with, encode, fill, query, sized, when
from .codes import ErrorCode


def _time(seconds: int) -> datetime:
    try:
        return _native.EPOCH + timedelta(seconds=seconds)
    except OverflowError:
        return (datetime.max if seconds > 0 else datetime.min).replace(tzinfo=timezone.utc)


@dataclass(frozen=True)
class Attributes:
    """Size, times (in UTC, within the years 1 to 9999) and flags; `changed` is the last change of
    the status."""

    size: int = _native.field("nFileSize")
    changed: datetime = _native.field("nCreateTime", convert=_time)
    accessed: datetime = _native.field("nAccessTime", convert=_time)
    modified: datetime = _native.field("nModifyTime", convert=_time)
    is_file: bool = _native.field("bIsFile")
    is_hidden: bool = _native.field("bIsHidden")
    is_readable: bool = _native.field("bIsReadable")


class Kind(IntEnum):
    """What `list` lists; everything that is not a folder counts as a file."""

    FILES = c.LIST_FILES
    FOLDERS = c.LIST_FOLDERS
    ALL = c.LIST_ALL


def attributes(path: PathLike) -> Attributes:
    """Size, times and flags of a file or folder; symbolic links are followed."""
    return query(Attributes, "attributes", (path,), "Mirovan_File_GetFileAttrA", encode(path),
                 c.MIROVAN_FILE_ATTR())


def create_folders(path: PathLike) -> None:
    """Creates a folder and every missing folder above it. If something exists at the path, even a
    file, nothing happens."""
    call("create_folders", (path,), "Mirovan_File_CreateMutilFolderA", encode(path))


def delete_folder(path: PathLike) -> None:
    """Deletes a folder and all that is in it; symbolic links are removed, never followed. If the
    path does not exist, or is not a folder, nothing happens."""
    call("delete_folder", (path,), "Mirovan_File_DeleteMutilFolderA", encode(path), True)


def empty_folder(path: PathLike) -> None:
    """Deletes what is in a folder and keeps the folder; otherwise as `delete_folder`."""
    call("empty_folder", (path,), "Mirovan_File_DeleteMutilFolderA", encode(path), False)


def save(path: PathLike, content: Union[bytes, bytearray, memoryview]) -> None:
    """Writes a file of these bytes, at most 2 GiB less one byte, and creates its folder."""
    data = bytes(content)
    if len(data) > 0x7FFFFFFF:
        raise OverflowError("a file can be saved with at most 2,147,483,647 bytes")
    call("save", (path,), "Mirovan_File_SaveBuffToFileA", encode(path), data, len(data))


def create_zero_filled(path: PathLike, size: int) -> None:
    """Writes a file of zero bytes, 1 or more; none of them is a hole."""
    call("create_zero_filled", (path,), "Mirovan_File_CreateSparseFileA", encode(path), size)


def copy(source: PathLike, destination: PathLike, *, replace: bool = True) -> None:
    """Copies the content of a file and its permission bits for reading, writing and executing;
    creates the folder of the destination."""
    call("copy", (source, destination), "Mirovan_File_CopyFileA", encode(source),
         encode(destination), not replace)


def list(folder_or_pattern: PathLike, kind: Kind = Kind.FILES, *,
         recurse: bool = False) -> List[str]:
    """The paths in a folder, or in the tree below it, in no particular order; empty if there are
    none. Paths of more than 1,023 bytes are left out; `walk` has them.

    A path is a pattern if its last part contains a `*` and nothing of that name exists. Only the
    extension of a pattern counts, and it is what the extension of a file begins with, in any case:
    `*.c` lists `a.c`, `b.cpp` and `d.CSV`, and so does `x*.c`. Folders are listed whatever their
    names.
    """
    path = encode(folder_or_pattern)
    if b"*" not in os.path.basename(path) and not path.endswith(b"/"):
        path += b"/"  # a missing "folder/name.old" is an error, and not a pattern
    rows, count = _native.Rows(), c_int()
    try:
        call("list", (folder_or_pattern,), "Mirovan_File_EnumFileA", path, byref(rows),
             byref(count), recurse, kind)
    except _native.Error as error:
        if error.code != ErrorCode.FILE_ENUM_EMPTY:
            raise
        return []
    return _native.take_rows(rows, count.value)


class EntryKind(IntEnum):
    """What is at a path, without following symbolic links."""

    UNKNOWN = c.KIND_UNKNOWN
    FILE = c.KIND_FILE
    FOLDER = c.KIND_FOLDER
    LINK = c.KIND_LINK
    OTHER = c.KIND_OTHER


_KINDS = tuple(EntryKind)  # by value, which starts at 0


@dataclass(frozen=True)
class Status:
    """The status of an entry: sizes in bytes, times in UTC. `changed` is the last change of the
    status, `allocated` what the entry takes on its volume."""

    size: int = _native.field("nFileSize")
    allocated: int = _native.field("nAllocatedSize")
    modified: datetime = _native.field("nModifyTime", convert=when)
    accessed: datetime = _native.field("nAccessTime", convert=when)
    changed: datetime = _native.field("nStatusTime", convert=when)
    permissions: int = _native.field("nPermissions")
    device: int = _native.field("nDevice")
    inode: int = _native.field("nInode")
    links: int = _native.field("nLinkCount")
    user_id: int = _native.field("nUserId")
    group_id: int = _native.field("nGroupId")


@dataclass
class Entry:
    """An entry that `walk` reports. `error` says why it, or the content of the folder, cannot be
    read; `status` and `link_target` are there if `walk` was asked for the status."""

    path: str
    name: str
    kind: EntryKind
    depth: int
    error: Optional[OSError] = None
    status: Optional[Status] = None
    link_target: Optional[str] = None
    skipped: bool = field(default=False, repr=False)

    def skip(self) -> None:
        """Keeps `walk` from entering this folder."""
        self.skipped = True


def _entry(record: c.MIROVAN_WALK_ENTRY, above: int) -> Entry:
    path, known = os.fsdecode(record.lpszPath), record.nKnown
    return Entry(
        path, os.fsdecode(record.lpszName), _KINDS[record.nKind], above + record.nDepth,
        OSError(record.nErrno, os.strerror(record.nErrno), path) if record.nErrno else None,
        fill(Status, record) if known & c.WALK_KNOWN_STATUS else None,
        os.fsdecode(record.lpszLinkTarget) if known & c.WALK_KNOWN_TARGET else None)


def walk(path: PathLike, *, depth: Optional[int] = None, pattern: Union[str, bytes, None] = None,
         same_volume: bool = False, status: bool = False) -> Iterator[Entry]:
    """Yields the entries below a folder, each folder before its content.

    Folders are read one at a time, each after it was yielded: `entry.skip()` keeps a folder from
    being read, and to stop the walk is to stop the iteration. Symbolic links are not followed.
    A folder that cannot be read does not end the walk: it is yielded once more, with its `error`.
    Paths may have any length. A folder that is replaced by a symbolic link before it is read is
    followed there, as in os.walk.

    `depth` is the deepest level (1 for the folder's own entries), `pattern` selects names as
    fnmatch(3) does (folders are entered whatever their names), `same_volume` keeps the walk out of
    folders of other volumes, `status` asks for size, times, permissions and the target of links.
    """
    if depth is not None and depth < 1:
        raise ValueError("the depth of a walk is 1 or more")
    wanted = None if pattern is None else encode(pattern)
    matches = ctypes.CDLL(None).fnmatch
    flags = (c.WALK_STATUS if status else 0) | (c.WALK_SAME_VOLUME if same_volume else 0)
    longest = os.pathconf("/", "PC_PATH_MAX") - 300

    def read(folder: bytes, level: int) -> List[Entry]:
        """The entries of a folder, the last one first; if their paths are too long to be opened,
        those of the tree below it."""
        levels = 1 if len(folder) < longest else 0 if depth is None else depth - level
        options = c.MIROVAN_WALK(ctypes.sizeof(c.MIROVAN_WALK), flags, levels)
        found: List[Entry] = []
        call_with(lambda record: found.append(_entry(record.contents, level)), "walk",
                  (os.fsdecode(folder),), "Mirovan_File_Walk", folder, options)
        found.reverse()
        return found

    def is_to_read(entry: Entry) -> bool:
        return (entry.kind == EntryKind.FOLDER and not entry.skipped and entry.error is None
                and len(os.fsencode(entry.path)) - len(os.fsencode(entry.name)) <= longest
                and (depth is None or entry.depth < depth)
                and (not same_volume or os.lstat(entry.path).st_dev == device))

    pending = read(encode(path), 0)
    device = os.stat(path).st_dev if same_volume else None
    while pending:
        entry = pending.pop()
        if (wanted is None or entry.error is not None
                or matches(wanted, os.fsencode(entry.name), 0) == 0):
            yield entry
        while entry.skipped and pending and pending[-1].depth > entry.depth:
            pending.pop()
        try:
            if is_to_read(entry):
                pending += read(os.fsencode(entry.path), entry.depth)
        except OSError as error:
            yield replace(entry, error=error)
