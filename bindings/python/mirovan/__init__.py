"""File, hardware, process and system operations of the operating system, through libmirovan.

A function that fails raises `Error`, which is an OSError, with the error of the calling thread.
"""

from . import file, hardware, process, system
from ._native import Error, library
from .codes import RELEASE as __version__
from .codes import ErrorCode
from .file import walk
from .process import UsageSampler, execute, processes, wait
from .system import LoadSampler

__all__ = ["Error", "ErrorCode", "LoadSampler", "UsageSampler", "__version__", "execute", "file",
           "hardware", "library_version", "process", "processes", "system", "wait", "walk"]


def library_version() -> str:
    """Returns the release of the shared library in use."""
    version: str = library.Mirovan_GetVersion().decode()
    return version
