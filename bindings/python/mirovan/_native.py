"""The C functions, their records, and the way from a failed call to an exception."""

from __future__ import annotations

import contextlib
import ctypes
import os
import subprocess
import sys
from ctypes import POINTER, Structure, byref, c_bool, c_char, c_char_p, c_int, c_int32, c_int64
from ctypes import c_long, c_longlong, c_uint32, c_uint64, c_ulong, c_void_p
from datetime import datetime
from errno import errorcode
from pathlib import Path
from typing import Any, Iterator, List, Union

from .codes import CAUSES, ErrorCode

PathLike = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]

PATH_SIZE = 1024


class FileAttributes(Structure):
    _fields_ = [("size", c_int64), ("changed", c_int64), ("accessed", c_int64),
                ("modified", c_int64), ("is_file", c_bool), ("is_hidden", c_bool),
                ("is_readable", c_bool)]


class Disk(Structure):
    _fields_ = [("reserved", c_int32), ("kind", c_int32), ("total", c_uint64), ("free", c_uint64)]


class Cpu(Structure):
    _fields_ = [("name", c_char * 128), ("model", c_char * 64), ("megahertz", c_int32),
                ("online", c_int32), ("threads", c_uint32)]


class Serials(Structure):
    _fields_ = [("platform", c_char * 64), ("system", c_char * 64), ("volume_uuid", c_char * 64),
                ("hardware_uuid", c_char * 64)]


class ProcessInfo(Structure):
    _fields_ = [("id", c_int32), ("threads", c_int32), ("name", c_char * 1024),
                ("user", c_char * 1024), ("state", c_int32), ("virtual_size", c_uint32),
                ("resident_size", c_uint32), ("page_ins", c_int32)]


class Memory(Structure):
    _fields_ = [("free_percent", c_int32), ("total", c_uint64), ("free", c_uint64),
                *((f"reserved{number}", c_uint64) for number in range(1, 6))]


class LocalTime(Structure):
    _fields_ = [("year", c_int32), ("month", c_int32), ("day", c_int32), ("hour", c_int32),
                ("minute", c_int32), ("second", c_int32)]


class Int(c_int):
    """An int parameter; ctypes itself would cut a number that does not fit."""

    @classmethod
    def from_param(cls, value: int) -> Int:
        if not -0x80000000 <= value <= 0x7FFFFFFF:
            raise OverflowError(f"{value} is no C int")
        return cls(value)


class LongLong(c_longlong):
    """The same for a long long."""

    @classmethod
    def from_param(cls, value: int) -> LongLong:
        if not -(1 << 63) <= value < 1 << 63:
            raise OverflowError(f"{value} is no C long long")
        return cls(value)


Rows = POINTER(c_char_p)
ReceivePiece = ctypes.CFUNCTYPE(c_bool, c_char_p, c_int, c_void_p)

# The parameters of every function in use; the result is a bool where nothing else is said.
PARAMETERS = {
    "Fundix_Memory_Free": [POINTER(Rows), Int],
    "Mirovan_GetThreadError": [POINTER(c_bool), POINTER(c_int)],
    "Mirovan_GetErrorText": [c_uint64],
    "Mirovan_GetVersion": [],
    "Mirovan_File_GetFileAttrA": [c_char_p, POINTER(FileAttributes)],
    "Mirovan_File_SaveBuffToFileA": [c_char_p, c_char_p, Int],
    "Mirovan_File_EnumFileA": [c_char_p, POINTER(Rows), POINTER(c_int), c_bool, Int],
    "Mirovan_File_CreateMutilFolderA": [c_char_p],
    "Mirovan_File_DeleteMutilFolderA": [c_char_p, c_bool],
    "Mirovan_File_CreateSparseFileA": [c_char_p, LongLong],
    "Mirovan_File_CopyFileA": [c_char_p, c_char_p, c_bool],
    "Mirovan_HardWare_GetDiskInfomation": [c_char_p, POINTER(Disk), Int],
    "Mirovan_HardWare_GetDiskNumber": [POINTER(Rows), POINTER(c_int)],
    "Mirovan_HardWare_GetCpuInfomation": [POINTER(Cpu)],
    "Mirovan_HardWare_GetSerial": [POINTER(Serials)],
    "Mirovan_Process_ReadCmdLines": [c_char_p, Int, Int, ReceivePiece, c_void_p],
    "Mirovan_Process_GetProcessInfo": [POINTER(ProcessInfo), c_char_p, Int],
    "Mirovan_Process_GetProcessCpuUsage": [POINTER(c_int), Int],
    "Mirovan_Process_GetUpTime": [POINTER(LocalTime), Int],
    "Mirovan_Process_GetPath": [c_char_p, Int],
    "Mirovan_Process_IsAdmin": [],
    "Mirovan_Process_GetPriority": [POINTER(c_int), Int],
    "Mirovan_Process_SetPriority": [Int, Int],
    "Mirovan_Process_Stop": [c_char_p, Int, c_bool],
    "Mirovan_Process_CreateProcess": [POINTER(c_ulong), c_char_p, c_char_p, c_bool],
    "Mirovan_Process_RunProcess": [POINTER(c_ulong), c_char_p, c_char_p, c_char_p, c_bool],
    "Mirovan_Process_SetProcessForCpu": [c_ulong, c_ulong],
    "Mirovan_Process_GetProcessForCpu": [c_ulong, POINTER(c_long)],
    "Mirovan_System_GetSystemVer": [c_char_p, c_char_p, c_char_p, POINTER(c_ulong), c_char_p],
    "Mirovan_System_GetMemoryUsage": [POINTER(Memory), Int],
    "Mirovan_System_GetCpuUsage": [POINTER(c_int)],
    "Mirovan_System_GetUpTime": [POINTER(LocalTime)],
    "Mirovan_System_GetProcessCount": [POINTER(c_int)],
    "Mirovan_System_GetSysName": [c_char_p, c_char_p],
    "Mirovan_System_Shutdown": [c_ulong],
    "Mirovan_System_SystemEx": [c_char_p, Int],
    "Mirovan_System_GetSysIdleTime": [POINTER(c_ulong)],
    "Mirovan_System_GetScreen": [POINTER(c_int), POINTER(c_int)],
    "Mirovan_System_GetLanguage": [c_char_p],
}
RESULTS = {
    "Mirovan_GetThreadError": c_uint64,
    "Mirovan_GetErrorText": c_char_p,
    "Mirovan_GetVersion": c_char_p,
}


def _places(name: str) -> Iterator[str]:
    """Where the library may be, the likeliest place first."""
    chosen = os.environ.get("MIROVAN_LIBRARY")
    if chosen:
        yield chosen
        return
    yield name  # as the loader finds it
    yield str(Path(__file__).with_name(name))
    with contextlib.suppress(OSError, subprocess.SubprocessError):
        folder = subprocess.run(["pkg-config", "--variable=libdir", "mirovan"], check=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        yield os.path.join(os.fsdecode(folder.strip()), name)
    for prefix in (sys.prefix, "/usr/local", "/opt/homebrew", os.path.expanduser("~/.local"),
                   os.path.expanduser("~/mirovan")):
        yield os.path.join(prefix, "lib", name)


def _load() -> ctypes.CDLL:
    name = "libmirovan.1.dylib" if sys.platform == "darwin" else "libmirovan.so.1"
    tried = []
    for place in _places(name):
        try:
            library = ctypes.CDLL(place)
            for function, parameters in PARAMETERS.items():
                getattr(library, function).argtypes = parameters
                getattr(library, function).restype = RESULTS.get(function, c_bool)
            return library
        except (OSError, AttributeError) as reason:  # not there, or too old
            tried.append(f"  {place}: {reason}")
    raise ImportError("\n".join(["the library of mirovan was not found; tried:", *tried,
                                 "MIROVAN_LIBRARY may name its file"]))


library = _load()


class Error(Exception):
    """A failed operation: its code, the code's name and sentence, and the errno behind it.

    The message has the operation, what it failed on, the sentence and the system's own message.
    """

    code: int
    name: str
    text: str
    errno: int
    operation: str
    subject: str

    def __init__(self, code: int, errno: int, operation: str = "", subject: str = "") -> None:
        super().__init__(code, errno, operation, subject)
        # A library newer than this package may have codes of its own.
        self.code = ErrorCode(code) if code in set(ErrorCode) else code
        self.errno = errno
        self.operation = operation
        self.subject = subject
        name_and_text = library.Mirovan_GetErrorText(code).decode()
        self.name, _, self.text = name_and_text.partition(": ")
        for cause, reason, of, sentence in CAUSES:
            if cause == code and reason in ("0", errorcode.get(errno)) and of in ("", operation):
                self.text = sentence
                break

    def __str__(self) -> str:
        reason = os.strerror(self.errno) if self.errno else ""
        parts = (self.operation, self.subject, self.text.rstrip("."), reason)
        return ": ".join(part for part in parts if part)


def call(operation: str, subject: Any, function: str, *arguments: Any) -> None:
    """Calls a function and raises what went wrong in it, with what it was called on."""
    if not getattr(library, function)(*arguments):
        errno = c_int()
        code = library.Mirovan_GetThreadError(None, byref(errno))
        text = str(subject or "") if isinstance(subject, int) else os.fsdecode(subject)
        raise Error(code, errno.value, operation, text)


def number(operation: str, subject: Any, function: str, *further: Any) -> int:
    """What a function puts into the int that its first argument points to."""
    value = c_int()
    call(operation, subject, function, byref(value), *further)
    return value.value


def local_time(subject: Any, function: str, *further: Any) -> datetime:
    """The same for a calendar time."""
    time = LocalTime()
    call("start_time", subject, function, byref(time), *further)
    # A leap second, which datetime does not know, counts as the second before it.
    return datetime(time.year, time.month, time.day, time.hour, time.minute, min(time.second, 59))


def encode(text: PathLike) -> bytes:
    encoded = os.fsencode(text)
    if b"\0" in encoded:
        raise ValueError("embedded null byte")
    return encoded


def take_rows(rows: Any, count: int) -> List[str]:
    """The texts of a row table, which is given back."""
    try:
        return [os.fsdecode(rows[at]) for at in range(count)]
    finally:
        library.Fundix_Memory_Free(byref(rows), count)
