"""Operations on files and folders."""

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
    """Size in bytes, times (in UTC, within the years 1 to 9999) and flags, from `attributes`;
    `changed` is the last change of the status."""

    size: int = _native.field("nFileSize")
    changed: datetime = _native.field("nCreateTime", convert=_time)
    accessed: datetime = _native.field("nAccessTime", convert=_time)
    modified: datetime = _native.field("nModifyTime", convert=_time)
    is_file: bool = _native.field("bIsFile")
    is_hidden: bool = _native.field("bIsHidden")
    is_readable: bool = _native.field("bIsReadable")


class Kind(IntEnum):
    """The kinds of entries that `list` returns; all entries that are not folders count as files."""

    FILES = c.LIST_FILES
    FOLDERS = c.LIST_FOLDERS
    ALL = c.LIST_ALL


def attributes(path: PathLike) -> Attributes:
    """Returns size, times and flags of a file or folder; symbolic links are followed.

    Args:
        path: path of the file or folder.

    Raises:
        Error: FILE_ATTR_NOTFOUND if it does not exist (FileNotFoundError) or its status cannot be
            read.

    Example:
        >>> mirovan.file.attributes("/etc/passwd").is_file
        True
    """
    return query(Attributes, "attributes", (path,), "Mirovan_File_GetFileAttrA", encode(path),
                 c.MIROVAN_FILE_ATTR())


def create_folders(path: PathLike) -> None:
    """Creates a folder and all missing folders above it. If anything exists at the path, even a
    file, nothing happens.

    Args:
        path: path of the folder.

    Raises:
        Error: FILE_CREATEFOLDER_FAILED if a folder cannot be created; those above it may have been.
    """
    call("create_folders", (path,), "Mirovan_File_CreateMutilFolderA", encode(path))


def delete_folder(path: PathLike) -> None:
    """Deletes a folder and its content; symbolic links in it are removed, not followed. If the path
    does not exist, or is not a folder, nothing happens.

    Args:
        path: path of the folder.

    Raises:
        Error: FILE_DELETEFOLDER_FAILED if an entry cannot be deleted; all others are.
    """
    call("delete_folder", (path,), "Mirovan_File_DeleteMutilFolderA", encode(path), True)


def empty_folder(path: PathLike) -> None:
    """Deletes the content of a folder and keeps the folder; otherwise like `delete_folder`."""
    call("empty_folder", (path,), "Mirovan_File_DeleteMutilFolderA", encode(path), False)


def save(path: PathLike, content: Union[bytes, bytearray, memoryview]) -> None:
    """Writes a file, replacing its content; creates missing folders.

    Args:
        path: path of the file.
        content: the bytes, at most 2 GiB less one.

    Raises:
        Error: FILE_SAVE_OPEN if the file cannot be opened or not all bytes could be written;
            FILE_CREATEFOLDER_FAILED if its folder cannot be created.
        OverflowError: if the content is too long.

    Example:
        >>> mirovan.file.save(folder + "/new/name", b"content")
        >>> mirovan.file.attributes(folder + "/new/name").size
        7
    """
    data = bytes(content)
    if len(data) > 0x7FFFFFFF:
        raise OverflowError("a file can be saved with at most 2,147,483,647 bytes")
    call("save", (path,), "Mirovan_File_SaveBuffToFileA", encode(path), data, len(data))


def create_zero_filled(path: PathLike, size: int) -> None:
    """Creates a file of zero bytes, all of which are allocated; an existing file is replaced.

    Args:
        path: path of the file, in an existing folder.
        size: size in bytes, 1 or more.

    Raises:
        Error: FILE_SPARSE_OPEN if the file cannot be opened; FILE_SPARSE_WRITE if the volume is
            full; FILE_SPARSE_PARAMETER for a size below 1.
    """
    call("create_zero_filled", (path,), "Mirovan_File_CreateSparseFileA", encode(path), size)


def copy(source: PathLike, destination: PathLike, *, replace: bool = True) -> None:
    """Copies the content of a file and its read, write and execute permissions; creates missing
    folders.

    Args:
        source: path of a regular file; symbolic links are followed.
        destination: path of the copy.
        replace: whether to replace the content of an existing file, or to fail.

    Raises:
        Error: FILE_COPY_EXIST (FileExistsError) if the destination exists and is not to be
            replaced; FILE_COPY_FAILED if the file cannot be copied; FILE_CREATEFOLDER_FAILED if the
            folder of the copy cannot be created.
    """
    call("copy", (source, destination), "Mirovan_File_CopyFileA", encode(source),
         encode(destination), not replace)


def list(folder_or_pattern: PathLike, kind: Kind = Kind.FILES, *,
         recurse: bool = False) -> List[str]:
    """Returns the paths in a folder, or in the tree below it, in no particular order.

    A path is a pattern if its last part contains a `*` and nothing of that name exists. Only the
    extension of a pattern counts, and it is what the extension of a file begins with, in any case:
    `*.c` lists `a.c`, `b.cpp` and `d.CSV`, and so does `x*.c`. Folders are listed whatever their
    names.

    Args:
        folder_or_pattern: path of a folder, or a pattern.
        kind: the kinds of entries to list.
        recurse: whether to list the whole tree; symbolic links are not followed.

    Returns:
        The paths; an empty list if there are none. Paths of more than 1,023 bytes are left out;
        `walk` yields them.

    Raises:
        Error: FILE_ENUM_NOTDIR if the folder does not exist (FileNotFoundError) or cannot be read,
            or, with `recurse`, if a name is not valid UTF-8.

    Example:
        >>> mirovan.file.save(folder + "/notes/one.TXT", b"")
        >>> len(mirovan.file.list(folder + "/notes/*.txt"))
        1
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
    """The kinds of entries that `walk` yields; symbolic links are not followed."""

    UNKNOWN = c.KIND_UNKNOWN
    FILE = c.KIND_FILE
    FOLDER = c.KIND_FOLDER
    LINK = c.KIND_LINK
    OTHER = c.KIND_OTHER


_KINDS = tuple(EntryKind)  # by value, which starts at 0


@dataclass(frozen=True)
class Status:
    """The status of an entry, from `walk`: sizes in bytes, times in UTC. `changed` is the last
    change of the status, `allocated` the size on the volume."""

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
    """An entry, from `walk`. `error` says why it, or the content of the folder, cannot be read;
    `status` and `link_target` are set if `walk` was called with `status=True`."""

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
    being read, and ending the iteration ends the walk. Symbolic links are not followed. A folder
    that cannot be read does not end the walk: it is yielded once more, with its `error`. Paths may
    have any length. A folder that is replaced by a symbolic link before it is read is followed
    there, as in os.walk.

    Args:
        path: path of the folder, which is not yielded itself.
        depth: the deepest level, 1 for the entries of the folder; None for all.
        pattern: selects names as fnmatch(3) does; folders are entered whatever their names.
        same_volume: whether to stay out of folders of other volumes.
        status: whether to read size, times, permissions and the targets of symbolic links.

    Raises:
        Error: FILE_WALK_FAILED if the folder cannot be opened (FileNotFoundError, PermissionError).
        ValueError: for a depth below 1.

    Example:
        >>> mirovan.file.save(folder + "/tree/below/name", b"content")
        >>> sum(entry.status.size for entry in mirovan.walk(folder + "/tree", status=True)
        ...     if entry.kind == mirovan.file.EntryKind.FILE)
        7
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
