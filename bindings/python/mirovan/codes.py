"""Made from include/mirovan.h by tools/error_codes."""

from enum import IntEnum

RELEASE = "1.1.0"


class ErrorCode(IntEnum):
    """Every error code; mirovan.h has a sentence for each."""

    FILE_ATTR_PARAMETER = 0x40A0001
    FILE_ATTR_NOTFOUND = 0x40A0002
    FILE_SAVE_PARAMETER = 0x40A0010
    FILE_SAVE_OPEN = 0x40A0011
    FILE_ENUM_PARAMETER = 0x40A0020
    FILE_ENUM_EMPTY = 0x40A0021
    FILE_ENUM_NOTDIR = 0x40A0022
    FILE_CREATEFOLDER_PARAMETER = 0x40A0030
    FILE_CREATEFOLDER_FAILED = 0x40A0031
    FILE_DELETEFOLDER_PARAMETER = 0x40A0040
    FILE_DELETEFOLDER_FAILED = 0x40A0041
    FILE_SPARSE_PARAMETER = 0x40A0050
    FILE_SPARSE_OPEN = 0x40A0051
    FILE_SPARSE_WRITE = 0x40A0502
    FILE_COPY_PARAMETER = 0x40A0070
    FILE_COPY_EXIST = 0x40A0071
    FILE_COPY_FAILED = 0x40A0072
    FILE_WALK_PARAMETER = 0x40A0080
    FILE_WALK_FAILED = 0x40A0081
    SYSTEM_PARAMETER = 0x40A1001
    SYSTEM_SYSTEMEX_FORK = 0x40A1002
    SYSTEM_QUERY_FAILED = 0x40A1005
    SYSTEM_IDLETIME_STATISTICS = 0x40A1008
    SYSTEM_SHUTDOWN_TYPE = 0x40A1010
    SYSTEM_SYSTEMEX_SIGNAL = 0x40A1011
    SYSTEM_PROCESSOR_TIMES_FAILED = 0x40A1012
    SYSTEM_MEMORY_RECORD_FAILED = 0x40A1013
    SYSTEM_IDENTITY_FAILED = 0x40A1014
    HARDWARE_PARAMETER = 0x40A2001
    HARDWARE_DISK_STATFS = 0x40A2002
    HARDWARE_DISK_UNIT = 0x40A2003
    HARDWARE_VOLUMES_FAILED = 0x40A2004
    PROCESS_PARAMETER = 0x40A3000
    PROCESS_ACCESS = 0x40A3001
    PROCESS_GET_FAILED = 0x40A3002
    PROCESS_INFO_FAILED = 0x40A3006
    PROCESS_NOTFOUND = 0x40A3007
    PROCESS_UPTIME_TIME = 0x40A3012
    PROCESS_GETPRIORITY_FAILED = 0x40A3013
    PROCESS_SETPRIORITY_FAILED = 0x40A3014
    PROCESS_SETPRIORITY_RANGE = 0x40A3015
    PROCESS_STOP_FIND = 0x40A3016
    PROCESS_STOP_KILL = 0x40A3017
    PROCESS_FORK = 0x40A3018
    PROCESS_EXEC = 0x40A3019
    PROCESS_SETCPU_FAILED = 0x40A3020
    PROCESS_EXECUTE_FAILED = 0x40A3021
    PROCESS_WAIT_FAILED = 0x40A3022
    PROCESS_LIST_FAILED = 0x40A3023
    PROCESS_RECORD_FAILED = 0x40A3024


# The sentences of codes that join several causes: code, name of errno, operation, sentence.
CAUSES = [
    (ErrorCode.FILE_ATTR_NOTFOUND, "ENOENT", "",
     "The file does not exist."),
    (ErrorCode.FILE_ATTR_NOTFOUND, "0", "",
     "The status of the file cannot be read."),
    (ErrorCode.FILE_SAVE_OPEN, "ENOSPC", "",
     "Not all of the buffer could be written."),
    (ErrorCode.FILE_SAVE_OPEN, "EFBIG", "",
     "Not all of the buffer could be written."),
    (ErrorCode.FILE_SAVE_OPEN, "EIO", "",
     "Not all of the buffer could be written."),
    (ErrorCode.FILE_SAVE_OPEN, "0", "",
     "The file cannot be opened for writing."),
    (ErrorCode.FILE_ENUM_NOTDIR, "ENOENT", "",
     "The folder to list does not exist."),
    (ErrorCode.FILE_ENUM_NOTDIR, "ENOTDIR", "",
     "The path to list is not a folder."),
    (ErrorCode.FILE_ENUM_NOTDIR, "EILSEQ", "",
     "A name in the folder is not valid UTF-8."),
    (ErrorCode.FILE_ENUM_NOTDIR, "0", "",
     "The folder cannot be read."),
    (ErrorCode.HARDWARE_PARAMETER, "EINVAL", "",
     "A required argument of a hardware query is missing."),
    (ErrorCode.HARDWARE_PARAMETER, "0", "",
     "The report of the system cannot be read."),
    (ErrorCode.PROCESS_ACCESS, "0", "output",
     "The command cannot be run."),
    (ErrorCode.PROCESS_ACCESS, "0", "cpu_load",
     "The command cannot be run."),
    (ErrorCode.PROCESS_ACCESS, "0", "",
     "The process cannot be accessed."),
    (ErrorCode.PROCESS_GET_FAILED, "0", "affinity_tag",
     "The affinity tag of the thread cannot be read."),
    (ErrorCode.PROCESS_GET_FAILED, "0", "",
     "The path of the program cannot be read."),
    (ErrorCode.PROCESS_INFO_FAILED, "ESRCH", "",
     "The process does not exist."),
]
