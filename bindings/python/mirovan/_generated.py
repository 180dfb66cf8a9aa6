"""Written by tools/generate from include/mirovan.h."""

from ctypes import (CFUNCTYPE, POINTER, Structure, c_bool, c_char, c_char_p, c_int, c_int32,
                    c_int64, c_longlong, c_uint32, c_uint64, c_ulong, c_void_p, c_wchar_p)

PATH_SIZE = 1024
UNIT_BYTE = 1
UNIT_KIB = 2
UNIT_MIB = 3
UNIT_GIB = 4
LIST_FILES = 1
LIST_FOLDERS = 2
LIST_ALL = 3
FILE_SYSTEM_OTHER = 0
FILE_SYSTEM_FAT = 1
FILE_SYSTEM_NTFS = 2
FILE_SYSTEM_EXT = 4
FILE_SYSTEM_APFS = 5
SHUTDOWN_HALT = 65537
SHUTDOWN_DISPLAY_OFF = 65538
SHUTDOWN_RESTART = 65539
SHUTDOWN_END_USER = 65540
SHUTDOWN_LOCK_SCREEN = 65541


class MIROVAN_FILE_ATTR(Structure):
    _fields_ = [("nFileSize", c_int64), ("nCreateTime", c_int64), ("nAccessTime", c_int64),
                ("nModifyTime", c_int64), ("bIsFile", c_bool), ("bIsHidden", c_bool),
                ("bIsReadable", c_bool)]


class tag_Mirovan_Disk_Information(Structure):
    _fields_ = [("nReserved", c_int32), ("nFileSystem", c_int32), ("nDiskTotal", c_uint64),
                ("nDiskFree", c_uint64)]


class tag_Mirovan_Cpu_Information(Structure):
    _fields_ = [("tszProcessorName", c_char * 128), ("tszModelIdentifier", c_char * 64),
                ("nProcessorSpeed", c_int32), ("nProcessorOnline", c_int32),
                ("nHardwareThreads", c_uint32)]


class tag_Mirovan_SdkSerial_Information(Structure):
    _fields_ = [("tszPlatformSerial", c_char * 64), ("tszSystemSerial", c_char * 64),
                ("tszVolumeUUID", c_char * 64), ("tszHardwareUUID", c_char * 64)]


class tag_Mirovan_Process_Infomation(Structure):
    _fields_ = [("nProcessId", c_int32), ("nThreadCount", c_int32),
                ("tszProcessName", c_char * 1024), ("tszUserName", c_char * 1024),
                ("nState", c_int32), ("nVirtualSize", c_uint32), ("nResidentSize", c_uint32),
                ("nPageIns", c_int32)]


class tag_Mirovan_Memory_Infomation(Structure):
    _fields_ = [("nFreePercent", c_int32), ("nTotalMemory", c_uint64), ("nFreeMemory", c_uint64),
                ("nReserved1", c_uint64), ("nReserved2", c_uint64), ("nReserved3", c_uint64),
                ("nReserved4", c_uint64), ("nReserved5", c_uint64)]


class MIROVAN_PROCESS_INFO(Structure):
    _fields_ = [("nProcessId", c_int32), ("tszProcessName", c_char * 1024)]


COMMAND_MERGE = 1
COMMAND_STOP = 2


class MIROVAN_COMMAND(Structure):
    _fields_ = [("nSize", c_uint32), ("nFlags", c_uint32), ("ppszArguments", POINTER(c_char_p)),
                ("lpszShellLine", c_char_p), ("lpszFolder", c_char_p),
                ("ppszEnvironment", POINTER(c_char_p)), ("pInput", c_void_p),
                ("nInputLen", c_uint64), ("nLimitMs", c_int64), ("nGraceMs", c_int64),
                ("pfnOutput", CFUNCTYPE(c_bool, c_void_p, c_uint64, c_void_p)),
                ("pfnErrors", CFUNCTYPE(c_bool, c_void_p, c_uint64, c_void_p)),
                ("pContext", c_void_p), ("nStopDescriptor", c_int32), ("nReserved", c_int32)]


END_UNKNOWN = 0
END_EXITED = 1
END_SIGNALLED = 2
END_LIMIT = 3
END_STOPPED = 4
END_RUNNING = 5
RESULT_STATUS = 1
RESULT_WALL_TIME = 2
RESULT_PROCESSOR_TIME = 4
RESULT_PEAK_MEMORY = 8


class MIROVAN_COMMAND_RESULT(Structure):
    _fields_ = [("nSize", c_uint32), ("nKnown", c_uint32), ("nProcessId", c_int32),
                ("nEnd", c_int32), ("nExitStatus", c_int32), ("nSignal", c_int32),
                ("nWallTime", c_uint64), ("nUserTime", c_uint64), ("nSystemTime", c_uint64),
                ("nPeakMemory", c_uint64)]


PROCESS_PARENT = 1
PROCESS_USER = 2
PROCESS_NAME = 4
PROCESS_STATE = 8
PROCESS_NICE = 16
PROCESS_START_TIME = 32
PROCESS_THREADS = 64
PROCESS_MEMORY = 128
PROCESS_PROCESSOR_TIME = 256
PROCESS_PAGE_FAULTS = 512


class MIROVAN_PROCESS_RECORD(Structure):
    _fields_ = [("nSize", c_uint32), ("nKnown", c_uint32), ("nProcessId", c_int32),
                ("nParentId", c_int32), ("nUserId", c_uint32), ("nNice", c_int32),
                ("nStartTime", c_int64), ("nResidentSize", c_uint64), ("nVirtualSize", c_uint64),
                ("nUserTime", c_uint64), ("nSystemTime", c_uint64), ("nPageFaults", c_uint64),
                ("nThreadCount", c_uint32), ("cState", c_char), ("tszName", c_char * 67)]


class TARVELO_LIBTIME(Structure):
    _fields_ = [("nYear", c_int32), ("nMonth", c_int32), ("nDay", c_int32), ("nHour", c_int32),
                ("nMinute", c_int32), ("nSecond", c_int32)]


KIND_UNKNOWN = 0
KIND_FILE = 1
KIND_FOLDER = 2
KIND_LINK = 3
KIND_OTHER = 4
WALK_STATUS = 1
WALK_SAME_VOLUME = 2
WALK_FOLDERS_LAST = 4
WALK_CONTINUE = 0
WALK_SKIP = 1
WALK_STOP = 2
WALK_KNOWN_STATUS = 1
WALK_KNOWN_TARGET = 2


class MIROVAN_WALK(Structure):
    _fields_ = [("nSize", c_uint32), ("nFlags", c_uint32), ("nMaxDepth", c_int32),
                ("nReserved", c_uint32), ("lpszPattern", c_char_p)]


class MIROVAN_WALK_ENTRY(Structure):
    _fields_ = [("nSize", c_uint32), ("nKnown", c_uint32), ("lpszPath", c_char_p),
                ("lpszName", c_char_p), ("nKind", c_int32), ("nDepth", c_int32),
                ("nErrno", c_int32), ("nPermissions", c_uint32), ("nFileSize", c_int64),
                ("nAllocatedSize", c_int64), ("nModifyTime", c_int64), ("nAccessTime", c_int64),
                ("nStatusTime", c_int64), ("nDevice", c_uint64), ("nInode", c_uint64),
                ("nLinkCount", c_uint64), ("nUserId", c_uint32), ("nGroupId", c_uint32),
                ("lpszLinkTarget", c_char_p)]


VOLUMES_NETWORK_SIZES = 1
VOLUMES_ALL_MOUNTS = 2
VOLUME_KNOWN_MOUNT_POINT = 1
VOLUME_KNOWN_DEVICE = 2
VOLUME_KNOWN_TYPE = 4
VOLUME_KNOWN_LABEL = 8
VOLUME_KNOWN_TOTAL = 16
VOLUME_KNOWN_FREE = 32
VOLUME_KNOWN_AVAILABLE = 64
VOLUME_KNOWN_READ_ONLY = 128
VOLUME_KNOWN_REMOVABLE = 256
VOLUME_KNOWN_LOCAL = 512


class MIROVAN_VOLUME(Structure):
    _fields_ = [("nSize", c_uint32), ("nKnown", c_uint32), ("tszMountPoint", c_char * 1024),
                ("tszDevice", c_char * 1024), ("tszType", c_char * 32), ("tszLabel", c_char * 256),
                ("nTotal", c_uint64), ("nFree", c_uint64), ("nAvailable", c_uint64),
                ("bReadOnly", c_bool), ("bRemovable", c_bool), ("bLocal", c_bool)]


PROCESSOR_TIMES_KNOWN_USER = 1
PROCESSOR_TIMES_KNOWN_NICE = 2
PROCESSOR_TIMES_KNOWN_SYSTEM = 4
PROCESSOR_TIMES_KNOWN_IDLE = 8
PROCESSOR_ALL = -1


class MIROVAN_PROCESSOR_TIMES(Structure):
    _fields_ = [("nSize", c_uint32), ("nKnown", c_uint32), ("nProcessor", c_int32),
                ("nReserved", c_uint32), ("nUser", c_uint64), ("nNice", c_uint64),
                ("nSystem", c_uint64), ("nIdle", c_uint64)]


MEMORY_KNOWN_TOTAL = 1
MEMORY_KNOWN_AVAILABLE = 2
MEMORY_KNOWN_FREE = 4
MEMORY_KNOWN_WIRED = 8
MEMORY_KNOWN_COMPRESSED = 16
MEMORY_KNOWN_CACHED = 32
MEMORY_KNOWN_SWAP_TOTAL = 64
MEMORY_KNOWN_SWAP_USED = 128
MEMORY_KNOWN_PROCESS_LIMIT = 256


class MIROVAN_MEMORY_RECORD(Structure):
    _fields_ = [("nSize", c_uint32), ("nKnown", c_uint32), ("nTotal", c_uint64),
                ("nAvailable", c_uint64), ("nFree", c_uint64), ("nWired", c_uint64),
                ("nCompressed", c_uint64), ("nCached", c_uint64), ("nSwapTotal", c_uint64),
                ("nSwapUsed", c_uint64), ("nProcessLimit", c_uint64)]


IDENTITY_KNOWN_SYSTEM_NAME = 1
IDENTITY_KNOWN_SYSTEM_VERSION = 2
IDENTITY_KNOWN_KERNEL_NAME = 4
IDENTITY_KNOWN_KERNEL_VERSION = 8
IDENTITY_KNOWN_ARCHITECTURE = 16
IDENTITY_KNOWN_HOST_NAME = 32
IDENTITY_KNOWN_START_TIME = 64
IDENTITY_KNOWN_PAGE_SIZE = 128
IDENTITY_KNOWN_PROCESSORS = 256
IDENTITY_KNOWN_PROCESSORS_ONLINE = 512
IDENTITY_KNOWN_PROCESSORS_USABLE = 1024


class MIROVAN_IDENTITY(Structure):
    _fields_ = [("nSize", c_uint32), ("nKnown", c_uint32), ("tszSystemName", c_char * 256),
                ("tszSystemVersion", c_char * 256), ("tszKernelName", c_char * 256),
                ("tszKernelVersion", c_char * 256), ("tszArchitecture", c_char * 256),
                ("tszHostName", c_char * 256), ("nStartTime", c_int64), ("nPageSize", c_uint64),
                ("nProcessors", c_uint32), ("nProcessorsOnline", c_uint32),
                ("nProcessorsUsable", c_uint32), ("nReserved", c_uint32)]


# The result and the parameters of every function.
FUNCTIONS = {
    "Mirovan_GetLastError":
        (c_uint64, [POINTER(c_int)]),
    "Mirovan_GetThreadError":
        (c_uint64, [POINTER(c_bool), POINTER(c_int)]),
    "Mirovan_GetErrorText":
        (c_char_p, [c_uint64]),
    "Mirovan_GetVersion":
        (c_char_p, []),
    "Fundix_Memory_Free":
        (c_bool, [POINTER(POINTER(c_void_p)), c_int]),
    "Mirovan_File_GetFileAttrA":
        (c_bool, [c_char_p, POINTER(MIROVAN_FILE_ATTR)]),
    "Mirovan_File_GetFileAttrW":
        (c_bool, [c_wchar_p, POINTER(MIROVAN_FILE_ATTR)]),
    "Mirovan_File_SaveBuffToFileA":
        (c_bool, [c_char_p, c_char_p, c_int]),
    "Mirovan_File_SaveBuffToFileW":
        (c_bool, [c_wchar_p, c_char_p, c_int]),
    "Mirovan_File_EnumFileA":
        (c_bool, [c_char_p, POINTER(POINTER(c_char_p)), POINTER(c_int), c_bool, c_int]),
    "Mirovan_File_EnumFileW":
        (c_bool, [c_wchar_p, POINTER(POINTER(c_wchar_p)), POINTER(c_int), c_bool, c_int]),
    "Mirovan_File_CreateMutilFolderA":
        (c_bool, [c_char_p]),
    "Mirovan_File_CreateMutilFolderW":
        (c_bool, [c_wchar_p]),
    "Mirovan_File_DeleteMutilFolderA":
        (c_bool, [c_char_p, c_bool]),
    "Mirovan_File_DeleteMutilFolderW":
        (c_bool, [c_wchar_p, c_bool]),
    "Mirovan_File_CreateSparseFileA":
        (c_bool, [c_char_p, c_longlong]),
    "Mirovan_File_CreateSparseFileW":
        (c_bool, [c_wchar_p, c_longlong]),
    "Mirovan_File_CopyFileA":
        (c_bool, [c_char_p, c_char_p, c_bool]),
    "Mirovan_File_CopyFileW":
        (c_bool, [c_wchar_p, c_wchar_p, c_bool]),
    "Mirovan_File_Walk":
        (c_bool, [c_char_p, POINTER(MIROVAN_WALK),
                  CFUNCTYPE(c_int, POINTER(MIROVAN_WALK_ENTRY), c_void_p), c_void_p]),
    "Mirovan_HardWare_GetDiskInfomation":
        (c_bool, [c_char_p, POINTER(tag_Mirovan_Disk_Information), c_int]),
    "Mirovan_HardWare_GetDiskNumber":
        (c_bool, [POINTER(POINTER(c_char_p)), POINTER(c_int)]),
    "Mirovan_HardWare_GetCpuInfomation":
        (c_bool, [POINTER(tag_Mirovan_Cpu_Information)]),
    "Mirovan_HardWare_GetSerial":
        (c_bool, [POINTER(tag_Mirovan_SdkSerial_Information)]),
    "Mirovan_HardWare_ListVolumes":
        (c_bool, [c_uint32, CFUNCTYPE(c_bool, POINTER(MIROVAN_VOLUME), c_void_p), c_void_p]),
    "Mirovan_Process_ReadCmdReturn":
        (c_bool, [c_char_p, c_char_p, c_int, c_int, POINTER(c_int)]),
    "Mirovan_Process_ReadCmdLines":
        (c_bool, [c_char_p, c_int, c_int, CFUNCTYPE(c_bool, c_void_p, c_int, c_void_p), c_void_p]),
    "Mirovan_Process_GetProcessInfo":
        (c_bool, [POINTER(tag_Mirovan_Process_Infomation), c_char_p, c_int]),
    "Mirovan_Process_GetProcessCpuUsage":
        (c_bool, [POINTER(c_int), c_int]),
    "Mirovan_Process_GetUpTime":
        (c_bool, [POINTER(TARVELO_LIBTIME), c_int]),
    "Mirovan_Process_GetPath":
        (c_bool, [c_char_p, c_int]),
    "Mirovan_Process_IsAdmin":
        (c_bool, []),
    "Mirovan_Process_GetPriority":
        (c_bool, [POINTER(c_int), c_int]),
    "Mirovan_Process_SetPriority":
        (c_bool, [c_int, c_int]),
    "Mirovan_Process_Stop":
        (c_bool, [c_char_p, c_int, c_bool]),
    "Mirovan_Process_CreateProcess":
        (c_bool, [POINTER(c_ulong), c_char_p, c_char_p, c_bool]),
    "Mirovan_Process_RunProcess":
        (c_bool, [POINTER(c_ulong), c_char_p, c_char_p, c_char_p, c_bool]),
    "Mirovan_Process_SetProcessForCpu":
        (c_bool, [c_ulong, c_ulong]),
    "Mirovan_Process_GetProcessForCpu":
        (c_bool, [c_ulong, POINTER(c_ulong)]),
    "Mirovan_Process_Execute":
        (c_bool, [POINTER(MIROVAN_COMMAND), POINTER(MIROVAN_COMMAND_RESULT)]),
    "Mirovan_Process_Wait":
        (c_bool, [c_int, c_int64, POINTER(MIROVAN_COMMAND_RESULT)]),
    "Mirovan_Process_List":
        (c_bool, [CFUNCTYPE(c_bool, POINTER(MIROVAN_PROCESS_RECORD), c_void_p), c_void_p]),
    "Mirovan_Process_GetRecord":
        (c_bool, [c_int, POINTER(MIROVAN_PROCESS_RECORD)]),
    "Mirovan_System_GetSystemVer":
        (c_bool, [c_char_p, c_char_p, c_char_p, POINTER(c_ulong), c_char_p]),
    "Mirovan_System_GetMemoryUsage":
        (c_bool, [POINTER(tag_Mirovan_Memory_Infomation), c_int]),
    "Mirovan_System_GetCpuUsage":
        (c_bool, [POINTER(c_int)]),
    "Mirovan_System_GetUpTime":
        (c_bool, [POINTER(TARVELO_LIBTIME)]),
    "Mirovan_System_GetProcessCount":
        (c_bool, [POINTER(c_int)]),
    "Mirovan_System_GetProcessList":
        (c_bool, [POINTER(POINTER(POINTER(MIROVAN_PROCESS_INFO))), POINTER(c_int)]),
    "Mirovan_System_GetSysName":
        (c_bool, [c_char_p, c_char_p]),
    "Mirovan_System_Shutdown":
        (c_bool, [c_ulong]),
    "Mirovan_System_SystemEx":
        (c_bool, [c_char_p, c_int]),
    "Mirovan_System_GetSysIdleTime":
        (c_bool, [POINTER(c_ulong)]),
    "Mirovan_System_GetScreen":
        (c_bool, [POINTER(c_int), POINTER(c_int)]),
    "Mirovan_System_GetLanguage":
        (c_bool, [c_char_p]),
    "Mirovan_System_WMIQuery":
        (c_bool, [c_char_p, c_char_p, c_char_p, c_int]),
    "Mirovan_System_GetProcessorTimes":
        (c_bool, [CFUNCTYPE(c_bool, POINTER(MIROVAN_PROCESSOR_TIMES), c_void_p), c_void_p]),
    "Mirovan_System_GetMemoryRecord":
        (c_bool, [POINTER(MIROVAN_MEMORY_RECORD)]),
    "Mirovan_System_GetIdentity":
        (c_bool, [POINTER(MIROVAN_IDENTITY)]),
}
