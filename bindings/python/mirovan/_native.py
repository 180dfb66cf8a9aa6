"""The C functions, their records, and the way from a failed call to an exception."""

from __future__ import annotations

import contextlib
import ctypes
import dataclasses
import errno as errno_names
import functools
import math
import os
import queue
import subprocess
import sys
import threading
from ctypes import POINTER, byref, c_int
from datetime import datetime, timedelta, timezone
from pathlib import Path
from typing import Any, Callable, Iterator, List, Type, TypeVar, Union

from . import _generated as c
from .codes import CAUSES, ErrorCode

PathLike = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
T = TypeVar("T")

Rows = POINTER(ctypes.c_char_p)
EPOCH = datetime(1970, 1, 1, tzinfo=timezone.utc)


class Int(c_int):
    """An int parameter; ctypes itself would truncate a number that does not fit."""

    @classmethod
    def from_param(cls, value: int) -> Int:
        if not -0x80000000 <= value <= 0x7FFFFFFF:
            raise OverflowError(f"{value} does not fit in a C int")
        return cls(value)


class LongLong(ctypes.c_longlong):
    """The same for a long long."""

    @classmethod
    def from_param(cls, value: int) -> LongLong:
        if not -(1 << 63) <= value < 1 << 63:
            raise OverflowError(f"{value} does not fit in a C long long")
        return cls(value)


CHECKED: Any = {c_int: Int, ctypes.c_longlong: LongLong}


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
            functions: Any = c.FUNCTIONS
            for function, (result, parameters) in functions.items():
                getattr(library, function).restype = result
                getattr(library, function).argtypes = [
                    CHECKED.get(parameter, parameter) for parameter in parameters]
            return library
        except (OSError, AttributeError) as reason:  # not there, or too old
            tried.append(f"  {place}: {reason}")
    raise ImportError("\n".join(["the library of mirovan was not found; tried:", *tried,
                                 "MIROVAN_LIBRARY may name its file"]))


library = _load()
KINDS: Any = {}


class Error(OSError):
    """A failed operation: `code`, the code's `name` and its sentence (`text`), `operation`,
    `subject`, and what every OSError has: `errno`, `strerror`, and `filename` if it failed on a
    path. It is also an instance of Python's own class for the errno, such as FileNotFoundError.

    The message has the operation, what it failed on, the sentence and the system's own message.
    """

    code: int
    name: str
    text: str
    operation: str
    subject: str

    def __new__(cls, code: int, errno: int, operation: str = "", subject: Any = None) -> Error:
        base: Any = type(OSError(errno, ""))
        if base is not OSError and base not in KINDS:
            KINDS[base] = type(base.__name__, (Error, base), {"__module__": "mirovan"})
        paths = subject if isinstance(subject, tuple) else ()
        filename, filename2 = (*paths, None, None)[:2]
        create: Any = OSError.__new__
        error: Error = create(KINDS.get(base, cls), errno, os.strerror(errno), filename, None,
                              filename2)
        return error

    def __init__(self, code: int, errno: int, operation: str = "", subject: Any = None) -> None:
        # A library newer than this package may have codes of its own.
        self.code = ErrorCode(code) if code in set(ErrorCode) else code
        self.operation = operation
        parts = subject if isinstance(subject, tuple) else (subject or "",)
        self.subject = " to ".join(str(part) if isinstance(part, int) else os.fsdecode(part)
                                   for part in parts)
        self.name, _, self.text = library.Mirovan_GetErrorText(code).decode().partition(": ")
        for cause, reason, of, sentence in CAUSES:
            if (cause == code and reason in ("0", errno_names.errorcode.get(errno))
                    and of in ("", operation)):
                self.text = sentence
                break
        if not errno:
            self.strerror = self.text

    def __reduce__(self) -> Any:
        subject = tuple(path for path in (self.filename, self.filename2) if path is not None)
        return Error, (int(self.code), self.errno, self.operation, subject or self.subject)

    def __str__(self) -> str:
        reason = self.strerror if self.errno else ""
        parts = (self.operation, self.subject, self.text.rstrip("."), reason)
        return ": ".join(part for part in parts if part)


def call(operation: str, subject: Any, function: str, *arguments: Any) -> None:
    """Calls a function and raises what went wrong in it, with what it was called on: an id, a
    string, or a tuple of paths."""
    if not getattr(library, function)(*arguments):
        errno = c_int()
        code = library.Mirovan_GetThreadError(None, byref(errno))
        raise Error(code, errno.value, operation, subject)


def call_with(handle: Callable[[Any], Any], operation: str, subject: Any, function: str,
              *arguments: Any) -> None:
    """Calls a function that calls back, with `handle` as the callback. `handle` gets the first
    argument of each call; it returns False to stop, and what it raises is raised here.

    A signal handler may raise (KeyboardInterrupt) as soon as a Python function is entered, before
    any `try` of it. Therefore the callback is the `send` of a generator, which is resumed inside
    its `try`. `send` takes one argument; C allows a callee to ignore the further ones.
    """
    prototype = getattr(library, function).argtypes[-2]
    more, stop = (c.WALK_CONTINUE, c.WALK_STOP) if prototype._restype_ is c_int else (True, False)
    raised: List[BaseException] = []

    def receive() -> Any:
        answer: Any = None
        try:
            while True:
                answer = stop if handle((yield answer)) is False else more
        except GeneratorExit:
            pass
        except BaseException as reason:
            raised.append(reason)
            while True:
                yield stop

    receiver = receive()
    next(receiver)
    callback = ctypes.CFUNCTYPE(prototype._restype_, prototype._argtypes_[0])(receiver.send)
    try:
        call(operation, subject, function, *arguments, ctypes.cast(callback, prototype), None)
    finally:
        if raised:
            raise raised[0]


def aside(work: Callable[[], T]) -> T:
    """Does work that blocks on another thread, so that Ctrl-C ends the wait for it at once. (Only
    the main thread runs signal handlers, and not while it is in a C function.)"""
    if threading.current_thread() is not threading.main_thread():
        return work()
    done: Any = queue.SimpleQueue()

    def run() -> None:
        try:
            done.put((work(), None))
        except BaseException as reason:
            done.put((None, reason))

    threading.Thread(target=run, daemon=True).start()
    result, reason = done.get()
    if reason is not None:
        raise reason
    answer: T = result
    return answer


def number(operation: str, subject: Any, function: str, *further: Any) -> int:
    """What a function puts into the int that its first argument points to."""
    value = c_int()
    call(operation, subject, function, byref(value), *further)
    return value.value


def local_time(subject: Any, function: str, *further: Any) -> datetime:
    """The same for a calendar time."""
    time = c.TARVELO_LIBTIME()
    call("start_time", subject, function, byref(time), *further)
    # A leap second, which datetime does not know, counts as the second before it.
    return datetime(time.nYear, time.nMonth, time.nDay, time.nHour, time.nMinute,
                    min(time.nSecond, 59)).astimezone()


def encode(text: PathLike) -> bytes:
    encoded = os.fsencode(text)
    if b"\0" in encoded:
        raise ValueError("embedded null byte")
    return encoded


def take_rows(rows: Any, count: int) -> List[str]:
    """The strings of a table of rows, which is freed."""
    try:
        return [os.fsdecode(rows[at]) for at in range(count)]
    finally:
        table = ctypes.cast(byref(rows), POINTER(POINTER(ctypes.c_void_p)))
        library.Fundix_Memory_Free(table, count)


def when(nanoseconds: int) -> datetime:
    return EPOCH + timedelta(microseconds=nanoseconds // 1000)


def span(nanoseconds: int) -> timedelta:
    return timedelta(microseconds=nanoseconds / 1000)


def field(name: str, known: int = 0, convert: Any = None) -> Any:
    """A field of a dataclass that `fill` takes from a field of a C record; None when the record
    has the bit `known` clear."""
    return dataclasses.field(metadata={"source": (name, known, convert)})


@functools.lru_cache(maxsize=None)
def sources(cls: Any) -> Any:
    return [entry.metadata["source"] for entry in dataclasses.fields(cls) if entry.metadata]


def fill(cls: Type[T], record: Any) -> T:
    """The dataclass with the values of a C record."""
    values = []
    for name, known, convert in sources(cls):  # type: ignore[arg-type]
        value = None if known and not record.nKnown & known else getattr(record, name)
        if value is not None and convert is not None:
            value = convert(value)
        values.append(os.fsdecode(value) if isinstance(value, bytes) else value)
    return cls(*values)


def sized(cls: Any) -> Any:
    """A C record that has its size."""
    return cls(nSize=ctypes.sizeof(cls))


def query(cls: Type[T], operation: str, subject: Any, function: str, *arguments: Any) -> T:
    """The dataclass with the values of the record among the arguments, which a function fills."""
    call(operation, subject, function, *arguments)
    return fill(cls, next(each for each in arguments if isinstance(each, ctypes.Structure)))


def seconds(limit: Union[timedelta, float]) -> float:
    return limit.total_seconds() if isinstance(limit, timedelta) else limit


def milliseconds(limit: Union[timedelta, float]) -> int:
    """A limit in seconds, or a timedelta, in whole milliseconds; never shorter."""
    return math.ceil(max(0, min(seconds(limit), 1e15)) * 1000)
