/**
 * @file mirovan.h
 * @brief The whole public interface of libmirovan, for C11 and for C++17 and later.
 *
 * mirovan queries the operating system and performs common file, hardware, process and system
 * operations, through one flat C interface.
 *
 * ## Results and errors
 * Every operation returns true on success. It first clears the error flag; when it fails it sets
 * the flag, stores one of the codes of ::MIROVAN_ERROR_MAP and returns false. A code is never
 * cleared, so after a success it is that of the last failure: only the result, or the flag,
 * indicates whether it is current. errno is left as the failing system call set it: EINVAL for an
 * invalid argument, ENOMEM if allocation fails, ENAMETOOLONG if a string does not fit.
 *
 * The flag and the code exist per process (::Mirovan_IsErrorOccur, ::Mirovan_dwErrorCode,
 * Mirovan_GetLastError()) and per thread (Mirovan_GetThreadError()). A program with several threads
 * uses the second.
 *
 * ## Strings and buffers
 * Narrow strings are UTF-8, wide strings UTF-32 in wchar_t; both are null-terminated. A buffer that
 * receives a string belongs to the caller and has the size that its parameter states. Records are
 * not cleared before they are filled: a field that an operation does not fill keeps its content.
 * A path that has to be converted, split or listed has at most 1,023 bytes; a longer one is
 * rejected, never truncated. Strings in fields of a record are truncated at a character boundary to
 * the size of the field, and are always null-terminated.
 *
 * ## Arrays of rows
 * Lists are returned as a null-terminated array of pointers to rows. The caller releases it, and all
 * rows with it, by Fundix_Memory_Free() and the count that came with it; never by free().
 *
 * ## Threads
 * The library starts no thread. Between calls it keeps the error state, for each thread the login
 * name that it looked up last (used again for at most one second), and the affinity tags that
 * Mirovan_Process_SetProcessForCpu() has set (on Linux). "Threads: any" at a declaration means that
 * it may run on any number of threads at once; "From:" lists the system interfaces that it uses. No
 * exception leaves a function of the C interface.
 */
#ifndef MIROVAN_H
#define MIROVAN_H

#include <pthread.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
#include <list>
#include <string>
#endif

/** The release that this header belongs to; see Mirovan_GetVersion() for the library's. */
#define MIROVAN_VERSION "1.1.0"

/** Marks what the shared library exports. */
#define MIROVAN_API __attribute__((visibility("default")))

/** Bytes, or wide characters, of a buffer or row for a path or a name, with the null character. */
#define MIROVAN_PATH_SIZE 1024

/**
 * @brief Every error code: its value, its constant and one sentence.
 *
 * Expand it with a macro of three parameters to build your own tables. The families are File
 * (0x40A00xx and 0x40A0502), System (0x40A1xxx), HardWare (0x40A2xxx) and Process (0x40A3xxx).
 */
#define MIROVAN_ERROR_MAP(XX)                                                                      \
    XX(0x40A0001, ERROR_MIROVAN_FILE_ATTR_PARAMETER,                                               \
       "A path or a record is missing from a question about a file.")                              \
    XX(0x40A0002, ERROR_MIROVAN_FILE_ATTR_NOTFOUND,                                                \
       "The file does not exist, or its status cannot be read.")                                   \
    XX(0x40A0010, ERROR_MIROVAN_FILE_SAVE_PARAMETER,                                               \
       "A path or a buffer is missing, or the length to save is negative.")                        \
    XX(0x40A0011, ERROR_MIROVAN_FILE_SAVE_OPEN,                                                    \
       "The file cannot be opened for writing, or not all of the buffer could be written.")        \
    XX(0x40A0020, ERROR_MIROVAN_FILE_ENUM_PARAMETER,                                               \
       "The path or the list of an enumeration is missing.")                                       \
    XX(0x40A0021, ERROR_MIROVAN_FILE_ENUM_EMPTY,                                                   \
       "The enumeration found nothing that is wanted and readable.")                               \
    XX(0x40A0022, ERROR_MIROVAN_FILE_ENUM_NOTDIR,                                                  \
       "The path to enumerate is not an existing folder, a folder cannot be read, or a name is "   \
       "not valid UTF-8.")                                                                         \
    XX(0x40A0030, ERROR_MIROVAN_FILE_CREATEFOLDER_PARAMETER,                                       \
       "The path of the folder to create is missing.")                                             \
    XX(0x40A0031, ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED, "The folder could not be created.")      \
    XX(0x40A0040, ERROR_MIROVAN_FILE_DELETEFOLDER_PARAMETER,                                       \
       "The path of the folder to delete is missing.")                                             \
    XX(0x40A0041, ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED,                                          \
       "Something in the folder could not be deleted.")                                            \
    XX(0x40A0050, ERROR_MIROVAN_FILE_SPARSE_PARAMETER,                                             \
       "The path of the zero-filled file is missing, or its size is not positive.")                \
    XX(0x40A0051, ERROR_MIROVAN_FILE_SPARSE_OPEN,                                                  \
       "The zero-filled file cannot be opened for writing.")                                       \
    XX(0x40A0502, ERROR_MIROVAN_FILE_SPARSE_WRITE,                                                 \
       "Fewer zero bytes could be written than were asked for.")                                   \
    XX(0x40A0070, ERROR_MIROVAN_FILE_COPY_PARAMETER,                                               \
       "The source or the destination of a copy is missing.")                                      \
    XX(0x40A0071, ERROR_MIROVAN_FILE_COPY_EXIST, "The destination of the copy exists already.")    \
    XX(0x40A0072, ERROR_MIROVAN_FILE_COPY_FAILED, "The file could not be copied.")                 \
    XX(0x40A0080, ERROR_MIROVAN_FILE_WALK_PARAMETER,                                               \
       "The path, the callback or the options of a walk are missing or invalid.")                  \
    XX(0x40A0081, ERROR_MIROVAN_FILE_WALK_FAILED,                                                  \
       "The folder to walk cannot be opened, or a folder above was moved during the walk.")        \
    XX(0x40A1001, ERROR_MIROVAN_SYSTEM_PARAMETER,                                                  \
       "A required argument of a system operation is missing.")                                    \
    XX(0x40A1002, ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK,                                              \
       "The shell for the command cannot be started.")                                             \
    XX(0x40A1005, ERROR_MIROVAN_SYSTEM_QUERY_FAILED, "A system query or action failed.")           \
    XX(0x40A1008, ERROR_MIROVAN_SYSTEM_IDLETIME_STATISTICS,                                        \
       "The processor load statistics cannot be read.")                                            \
    XX(0x40A1010, ERROR_MIROVAN_SYSTEM_SHUTDOWN_TYPE, "The shutdown action is not known.")         \
    XX(0x40A1011, ERROR_MIROVAN_SYSTEM_SYSTEMEX_SIGNAL,                                            \
       "The signal handling around the command cannot be set up.")                                 \
    XX(0x40A1012, ERROR_MIROVAN_SYSTEM_PROCESSOR_TIMES_FAILED,                                     \
       "The times of the processors cannot be read.")                                              \
    XX(0x40A1013, ERROR_MIROVAN_SYSTEM_MEMORY_RECORD_FAILED,                                       \
       "The state of the memory cannot be read.")                                                  \
    XX(0x40A1014, ERROR_MIROVAN_SYSTEM_IDENTITY_FAILED,                                            \
       "The identity of the system cannot be read.")                                               \
    XX(0x40A2001, ERROR_MIROVAN_HARDWARE_PARAMETER,                                                \
       "A required argument of a hardware query is missing, or its report cannot be had.")         \
    XX(0x40A2002, ERROR_MIROVAN_HARDWARE_DISK_STATFS,                                              \
       "The statistics of the volume that holds the path cannot be read.")                         \
    XX(0x40A2003, ERROR_MIROVAN_HARDWARE_DISK_UNIT, "The unit is not 1, 2, 3 or 4.")               \
    XX(0x40A2004, ERROR_MIROVAN_HARDWARE_VOLUMES_FAILED,                                           \
       "The list of mounted volumes cannot be read.")                                              \
    XX(0x40A3000, ERROR_MIROVAN_PROCESS_PARAMETER,                                                 \
       "A required argument of a process operation is missing.")                                   \
    XX(0x40A3001, ERROR_MIROVAN_PROCESS_ACCESS,                                                    \
       "The command cannot be run, or the process cannot be reached.")                             \
    XX(0x40A3002, ERROR_MIROVAN_PROCESS_GET_FAILED,                                                \
       "The path of the process or the affinity of the thread cannot be read.")                    \
    XX(0x40A3006, ERROR_MIROVAN_PROCESS_INFO_FAILED,                                               \
       "The process or the account of its owner cannot be read.")                                  \
    XX(0x40A3007, ERROR_MIROVAN_PROCESS_NOTFOUND, "No running process matches the name.")          \
    XX(0x40A3012, ERROR_MIROVAN_PROCESS_UPTIME_TIME,                                               \
       "The start time of the process cannot be expressed in local time.")                         \
    XX(0x40A3013, ERROR_MIROVAN_PROCESS_GETPRIORITY_FAILED,                                        \
       "The priority of the process cannot be read.")                                              \
    XX(0x40A3014, ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED,                                        \
       "The priority of the process cannot be set.")                                               \
    XX(0x40A3015, ERROR_MIROVAN_PROCESS_SETPRIORITY_RANGE,                                         \
       "The priority lies outside the range from -20 to 20.")                                      \
    XX(0x40A3016, ERROR_MIROVAN_PROCESS_STOP_FIND,                                                 \
       "The command that looks a process up by its name cannot be run.")                           \
    XX(0x40A3017, ERROR_MIROVAN_PROCESS_STOP_KILL, "The process cannot be signalled.")             \
    XX(0x40A3018, ERROR_MIROVAN_PROCESS_FORK, "The child process cannot be created.")              \
    XX(0x40A3019, ERROR_MIROVAN_PROCESS_EXEC, "The program cannot be started.")                    \
    XX(0x40A3020, ERROR_MIROVAN_PROCESS_SETCPU_FAILED,                                             \
       "The affinity of the thread cannot be set.")                                                \
    XX(0x40A3021, ERROR_MIROVAN_PROCESS_EXECUTE_FAILED, "The command cannot be run.")              \
    XX(0x40A3022, ERROR_MIROVAN_PROCESS_WAIT_FAILED, "The process is not a child of the caller.")  \
    XX(0x40A3023, ERROR_MIROVAN_PROCESS_LIST_FAILED, "The processes cannot be listed.")            \
    XX(0x40A3024, ERROR_MIROVAN_PROCESS_RECORD_FAILED, "The process cannot be read.")

/**
 * @brief The sentences of codes that join several causes: code, errno (0: any), operation in C++
 * and Python (empty: any) and sentence. The first entry that matches counts.
 *
 * mirovan.hpp and the Python package make their messages of it. It needs <errno.h>.
 */
#define MIROVAN_ERROR_CAUSE_MAP(XX)                                                                \
    XX(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, ENOENT, "", "The file does not exist.")                   \
    XX(ERROR_MIROVAN_FILE_ATTR_NOTFOUND, 0, "", "The status of the file cannot be read.")          \
    XX(ERROR_MIROVAN_FILE_SAVE_OPEN, ENOSPC, "", "Not all of the buffer could be written.")        \
    XX(ERROR_MIROVAN_FILE_SAVE_OPEN, EFBIG, "", "Not all of the buffer could be written.")         \
    XX(ERROR_MIROVAN_FILE_SAVE_OPEN, EIO, "", "Not all of the buffer could be written.")           \
    XX(ERROR_MIROVAN_FILE_SAVE_OPEN, 0, "", "The file cannot be opened for writing.")              \
    XX(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOENT, "", "The folder to list does not exist.")           \
    XX(ERROR_MIROVAN_FILE_ENUM_NOTDIR, ENOTDIR, "", "The path to list is not a folder.")           \
    XX(ERROR_MIROVAN_FILE_ENUM_NOTDIR, EILSEQ, "", "A name in the folder is not valid UTF-8.")     \
    XX(ERROR_MIROVAN_FILE_ENUM_NOTDIR, 0, "", "The folder cannot be read.")                        \
    XX(ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL, "",                                               \
       "A required argument of a hardware query is missing.")                                      \
    XX(ERROR_MIROVAN_HARDWARE_PARAMETER, 0, "", "The report of the system cannot be read.")        \
    XX(ERROR_MIROVAN_PROCESS_ACCESS, 0, "output", "The command cannot be run.")                    \
    XX(ERROR_MIROVAN_PROCESS_ACCESS, 0, "cpu_load", "The command cannot be run.")                  \
    XX(ERROR_MIROVAN_PROCESS_ACCESS, 0, "", "The process cannot be accessed.")                     \
    XX(ERROR_MIROVAN_PROCESS_GET_FAILED, 0, "affinity_tag",                                        \
       "The affinity tag of the thread cannot be read.")                                           \
    XX(ERROR_MIROVAN_PROCESS_GET_FAILED, 0, "", "The path of the program cannot be read.")         \
    XX(ERROR_MIROVAN_PROCESS_INFO_FAILED, ESRCH, "", "The process does not exist.")

/** The error codes as constants; ::MIROVAN_ERROR_MAP has a sentence for each. */
enum Mirovan_ErrorCode
#ifdef __cplusplus
    : uint64_t
#endif
{
#define MIROVAN_ERROR_CONSTANT(value, name, text) name = value,
    MIROVAN_ERROR_MAP(MIROVAN_ERROR_CONSTANT)
#undef MIROVAN_ERROR_CONSTANT
};

/** @name Named values
 *  Values of integer parameters and fields.
 *  @{ */

/** @brief Units of the sizes from Mirovan_HardWare_GetDiskInfomation() and
 *  Mirovan_System_GetMemoryUsage(). */
enum Mirovan_Unit
{
    MIROVAN_UNIT_BYTE = 1, /**< Bytes. */
    MIROVAN_UNIT_KIB = 2,  /**< 1,024 bytes. */
    MIROVAN_UNIT_MIB = 3,  /**< 1,024 KiB. */
    MIROVAN_UNIT_GIB = 4   /**< 1,024 MiB. */
};

/** @brief What an enumeration lists, such as Mirovan_File_EnumFileA(). */
enum Mirovan_ListKind
{
    MIROVAN_LIST_FILES = 1,   /**< All entries that are not folders. */
    MIROVAN_LIST_FOLDERS = 2, /**< Folders. */
    MIROVAN_LIST_ALL = 3      /**< Both. */
};

/** @brief File systems, from Mirovan_HardWare_GetDiskInfomation(). */
enum Mirovan_FileSystem
{
    MIROVAN_FILE_SYSTEM_OTHER = 0, /**< Any other. */
    MIROVAN_FILE_SYSTEM_FAT = 1,   /**< FAT and exFAT. */
    MIROVAN_FILE_SYSTEM_NTFS = 2,  /**< NTFS. */
    MIROVAN_FILE_SYSTEM_EXT = 4,   /**< The ext family. */
    MIROVAN_FILE_SYSTEM_APFS = 5   /**< APFS. */
};

/** @brief Actions of Mirovan_System_Shutdown(). */
enum Mirovan_ShutdownAction
{
    MIROVAN_SHUTDOWN_HALT = 0x10001,        /**< Halts the system. */
    MIROVAN_SHUTDOWN_DISPLAY_OFF = 0x10002, /**< Turns the display off. */
    MIROVAN_SHUTDOWN_RESTART = 0x10003,     /**< Restarts the system. */
    MIROVAN_SHUTDOWN_END_USER = 0x10004,    /**< Kills all processes of the logged-in user. */
    MIROVAN_SHUTDOWN_LOCK_SCREEN = 0x10005  /**< Locks the screen. */
};

/** @} */

/** @name Records
 *  @{ */

/** @brief Size, times and flags of a file or folder, from Mirovan_File_GetFileAttrA(). */
typedef struct MIROVAN_FILE_ATTR
{
    int64_t nFileSize;   /**< Size in bytes; of a folder too, as the file system reports it. */
    int64_t nCreateTime; /**< Last change of the status (not the birth), seconds since 1970 UTC. */
    int64_t nAccessTime; /**< Last access, seconds since 1970 UTC. */
    int64_t nModifyTime; /**< Last modification, seconds since 1970 UTC. */
    bool bIsFile;        /**< False for a folder, true for anything else. */
    bool bIsHidden;      /**< The path, as it was given, begins with a dot. */
    bool bIsReadable;    /**< The real user and group of the process may read it. */
} MIROVAN_FILE_ATTR;

/** @brief File system and size of a volume, from Mirovan_HardWare_GetDiskInfomation(). */
typedef struct tag_Mirovan_Disk_Information
{
    int32_t nReserved;   /**< Neither read nor written. */
    int32_t nFileSystem; /**< 5 APFS, 1 FAT and exFAT, 2 NTFS, 4 the ext family, 0 any other. */
    uint64_t nDiskTotal; /**< Size of the volume in the given unit. */
    uint64_t nDiskFree;  /**< Space available to an unprivileged user, in the given unit. */
} tag_Mirovan_Disk_Information;

/** @brief The processor and the model, from Mirovan_HardWare_GetCpuInfomation(). */
typedef struct tag_Mirovan_Cpu_Information
{
    char tszProcessorName[128];  /**< Name of the processor; on Apple silicon of the chip. */
    char tszModelIdentifier[64]; /**< Model identifier of the machine. */
    int32_t nProcessorSpeed;     /**< Speed in MHz; not reported on Apple silicon. */
    int32_t nProcessorOnline;    /**< Processors online, -1 if unknown; on macOS all processors. */
    uint32_t nHardwareThreads;   /**< Hardware threads. */
} tag_Mirovan_Cpu_Information;

/**
 * @brief Identifiers of the machine, from Mirovan_HardWare_GetSerial().
 *
 * All fields but the first end with the newline of their report.
 */
typedef struct tag_Mirovan_SdkSerial_Information
{
    char tszPlatformSerial[64]; /**< Serial number in the device registry. */
    char tszSystemSerial[64];   /**< Serial number in the hardware report. */
    char tszVolumeUUID[64];     /**< UUID of the first volume in the storage report. */
    char tszHardwareUUID[64];   /**< UUID of the hardware. */
} tag_Mirovan_SdkSerial_Information;

/** @brief Snapshot of a process, from Mirovan_Process_GetProcessInfo(). */
typedef struct tag_Mirovan_Process_Infomation
{
    int32_t nProcessId;        /**< Process id, as given by the caller. */
    int32_t nThreadCount;      /**< Number of threads. */
    char tszProcessName[1024]; /**< Name given by the caller, or the short name. */
    char tszUserName[1024];    /**< Login name of its user. */
    int32_t nState;            /**< 0 running, 3 any other state. */
    uint32_t nVirtualSize;     /**< Virtual size in units of 4 bytes, low 32 bits. */
    uint32_t nResidentSize;    /**< Resident size in units of 4 bytes, low 32 bits. */
    int32_t nPageIns;          /**< Page-ins divided by 4. */
} tag_Mirovan_Process_Infomation;

/** @brief Physical memory, from Mirovan_System_GetMemoryUsage(). */
typedef struct tag_Mirovan_Memory_Infomation
{
    int32_t nFreePercent;  /**< Free memory in whole percent, rounded down, 0 to 100. */
    uint64_t nTotalMemory; /**< Physical memory in the given unit. */
    uint64_t nFreeMemory;  /**< Free pages in the given unit. */
    uint64_t nReserved1;   /**< Not filled; converted to the unit like the other fields. */
    uint64_t nReserved2;   /**< Not filled; converted to the unit like the other fields. */
    uint64_t nReserved3;   /**< Not filled and not changed. */
    uint64_t nReserved4;   /**< Not filled; converted to the unit like the other fields. */
    uint64_t nReserved5;   /**< Not filled; converted to the unit like the other fields. */
} tag_Mirovan_Memory_Infomation;

/** @brief Row of the array of Mirovan_System_GetProcessList(), which has no rows. */
typedef struct MIROVAN_PROCESS_INFO
{
    int32_t nProcessId;        /**< Process id. */
    char tszProcessName[1024]; /**< Name of the process. */
} MIROVAN_PROCESS_INFO;

/** @brief Flags of a MIROVAN_COMMAND. */
enum Mirovan_CommandFlag
{
    MIROVAN_COMMAND_MERGE = 1, /**< stderr is redirected to stdout. */
    MIROVAN_COMMAND_STOP = 2,  /**< nStopDescriptor ends the command. */
};

/** @brief A command for Mirovan_Process_Execute(). Clear the record, then set nSize. */
typedef struct MIROVAN_COMMAND
{
    uint32_t nSize;                     /**< sizeof(MIROVAN_COMMAND). */
    uint32_t nFlags;                    /**< Values of ::Mirovan_CommandFlag. */
    const char* const* ppszArguments;   /**< Program and arguments, then a null pointer. A program
                                             without a slash is searched for on the caller's PATH;
                                             a relative path starts at lpszFolder. */
    const char* lpszShellLine;          /**< Alternatively, a command line for /bin/sh. */
    const char* lpszFolder;             /**< Working directory; null for the caller's. */
    const char* const* ppszEnvironment; /**< NAME=value strings, then a null pointer; null for the
                                             caller's environment. */
    const void* pInput;                 /**< Bytes for standard input; null for /dev/null. */
    uint64_t nInputLen;                 /**< Number of bytes. */
    int64_t nLimitMs;                   /**< Limit in milliseconds, within 50 ms; 0 for none. */
    int64_t nGraceMs;                   /**< Milliseconds from SIGTERM to SIGKILL; 0 for 100; below
                                             0 for SIGKILL at once. */
    /** Receives the output in chunks, not null-terminated; returns false to end the command. If it
        is null, the command inherits the stream. */
    bool (*pfnOutput)(const char* pData, uint64_t nLen, void* pContext);
    /** The same for stderr. */
    bool (*pfnErrors)(const char* pData, uint64_t nLen, void* pContext);
    void* pContext;          /**< Passed to both functions. */
    int32_t nStopDescriptor; /**< With ::MIROVAN_COMMAND_STOP: a file descriptor, such as the
                                  reading end of a pipe. When it becomes readable, or its other end
                                  is closed, the command is ended. It is not read. */
    int32_t nReserved;       /**< 0. */
} MIROVAN_COMMAND;

/** @brief How a command ended. */
enum Mirovan_End
{
    MIROVAN_END_UNKNOWN = 0,   /**< By itself; its status is unavailable. */
    MIROVAN_END_EXITED = 1,    /**< It exited with nExitStatus. */
    MIROVAN_END_SIGNALLED = 2, /**< The signal nSignal ended it. */
    MIROVAN_END_LIMIT = 3,     /**< It was ended at the limit. */
    MIROVAN_END_STOPPED = 4,   /**< The caller ended it, by a function or nStopDescriptor. */
    MIROVAN_END_RUNNING = 5,   /**< It still runs; only from Mirovan_Process_Wait(). */
};

/** @brief Bits of nKnown in a MIROVAN_COMMAND_RESULT. */
enum Mirovan_ResultKnown
{
    MIROVAN_RESULT_STATUS = 1,         /**< nExitStatus and nSignal. */
    MIROVAN_RESULT_WALL_TIME = 2,      /**< nWallTime. */
    MIROVAN_RESULT_PROCESSOR_TIME = 4, /**< nUserTime and nSystemTime. */
    MIROVAN_RESULT_PEAK_MEMORY = 8,    /**< nPeakMemory. */
};

/** @brief How a command ended and what it used, from Mirovan_Process_Execute(). */
typedef struct MIROVAN_COMMAND_RESULT
{
    uint32_t nSize;       /**< sizeof(MIROVAN_COMMAND_RESULT), set by the caller. */
    uint32_t nKnown;      /**< ::Mirovan_ResultKnown bits; unknown fields are 0. */
    int32_t nProcessId;   /**< Process id. */
    int32_t nEnd;         /**< A value of ::Mirovan_End. */
    int32_t nExitStatus;  /**< Exit status, 0 to 255; 0 if a signal ended it. */
    int32_t nSignal;      /**< Signal that ended it, also at a limit; else 0. */
    uint64_t nWallTime;   /**< Time from start to end, in nanoseconds. */
    uint64_t nUserTime;   /**< Processor time in user mode, in nanoseconds, with the children that
                               it reaped. */
    uint64_t nSystemTime; /**< Processor time in the kernel, in nanoseconds. */
    uint64_t nPeakMemory; /**< Peak resident memory in bytes. Linux counts the caller's memory until
                               the program runs, so there it is known only if it is higher. */
} MIROVAN_COMMAND_RESULT;

/** @brief Bits of nKnown in a MIROVAN_PROCESS_RECORD. */
enum Mirovan_ProcessKnown
{
    MIROVAN_PROCESS_PARENT = 1,           /**< nParentId. */
    MIROVAN_PROCESS_USER = 2,             /**< nUserId. */
    MIROVAN_PROCESS_NAME = 4,             /**< tszName. */
    MIROVAN_PROCESS_STATE = 8,            /**< cState. */
    MIROVAN_PROCESS_NICE = 16,            /**< nNice. */
    MIROVAN_PROCESS_START_TIME = 32,      /**< nStartTime. */
    MIROVAN_PROCESS_THREADS = 64,         /**< nThreadCount. */
    MIROVAN_PROCESS_MEMORY = 128,         /**< nResidentSize and nVirtualSize. */
    MIROVAN_PROCESS_PROCESSOR_TIME = 256, /**< nUserTime and nSystemTime. */
    MIROVAN_PROCESS_PAGE_FAULTS = 512,    /**< nPageFaults. */
};

/** @brief One process, from Mirovan_Process_List() and Mirovan_Process_GetRecord(). */
typedef struct MIROVAN_PROCESS_RECORD
{
    uint32_t nSize;         /**< sizeof(MIROVAN_PROCESS_RECORD), which the caller sets. */
    uint32_t nKnown;        /**< ::Mirovan_ProcessKnown bits; unknown fields are 0. */
    int32_t nProcessId;     /**< Process id. */
    int32_t nParentId;      /**< Process id of its parent. */
    uint32_t nUserId;       /**< Effective user id. */
    int32_t nNice;          /**< Nice value, -20 to 20. */
    int64_t nStartTime;     /**< Start time, nanoseconds since 1970 UTC; with the id it identifies
                                 a process, since ids are reused. */
    uint64_t nResidentSize; /**< Resident memory in bytes. */
    uint64_t nVirtualSize;  /**< Virtual size in bytes. */
    uint64_t nUserTime;     /**< Processor time in user mode since the start, nanoseconds. */
    uint64_t nSystemTime;   /**< Processor time in the kernel, in nanoseconds. */
    uint64_t nPageFaults;   /**< Page faults since the start. */
    uint32_t nThreadCount;  /**< Number of threads. */
    char cState;      /**< R running, S sleeping, D sleeping uninterruptibly, I idle, T stopped,
                                 Z ended and not reaped. */
    char tszName[67]; /**< Short name, null-terminated. */
} MIROVAN_PROCESS_RECORD;

/** @brief A calendar time in local time. */
typedef struct TARVELO_LIBTIME
{
    int32_t nYear;   /**< Year in full. */
    int32_t nMonth;  /**< Month, 1 to 12. */
    int32_t nDay;    /**< Day of the month, 1 to 31. */
    int32_t nHour;   /**< Hour, 0 to 23. */
    int32_t nMinute; /**< Minute, 0 to 59. */
    int32_t nSecond; /**< Second, 0 to 60. */
} TARVELO_LIBTIME;

/** @} */

#ifdef __cplusplus
extern "C"
{
#endif

    /** @name Error state
     *  @{ */

    /**
     * @brief True if the last operation in the process failed. Read-only.
     *
     * Threads: the library never races on it, but it may be about an operation of another thread;
     * Mirovan_GetThreadError() is not.
     */
    extern MIROVAN_API bool Mirovan_IsErrorOccur;

    /**
     * @brief Code of the last failure in the process; 0 before the first. Read-only.
     *
     * Threads: as for ::Mirovan_IsErrorOccur.
     */
    extern MIROVAN_API uint64_t Mirovan_dwErrorCode;

    /**
     * @brief Returns the code of the last failure in the process, whether or not it is current.
     *
     * @param pnSysErrno receives the current errno of the calling thread; may be null.
     * @return the code, 0 before the first failure. The error state does not change.
     *
     * Threads: any; the code may be from another thread. From: the error state and errno.
     *
     * @see Mirovan_GetThreadError(), Mirovan_GetErrorText()
     */
    MIROVAN_API uint64_t Mirovan_GetLastError(int* pnSysErrno);

    /**
     * @brief Returns the error state of the calling thread.
     *
     * @param pbErrorOccur receives whether the last operation of this thread failed; may be null.
     * @param pnSysErrno receives the errno of the last failure of this thread, 0 before the first;
     *                   may be null.
     * @return the code of the last failure of this thread, 0 before the first. The error state does
     *         not change.
     *
     * Threads: any. From: the error state of the thread.
     *
     * @see Mirovan_GetErrorText(), Mirovan_GetLastError()
     */
    MIROVAN_API uint64_t Mirovan_GetThreadError(bool* pbErrorOccur, int* pnSysErrno);

    /**
     * @brief Returns the name and the description of an error code.
     *
     * @param dwCode an error code.
     * @return the name of the constant, a colon, a space and one sentence; never null, even for a
     *         value that is not an error code. The string is static and must not be freed.
     *
     * Threads: any. From: ::MIROVAN_ERROR_MAP.
     *
     * @see Mirovan_GetThreadError(), Mirovan_GetLastError()
     */
    MIROVAN_API const char* Mirovan_GetErrorText(uint64_t dwCode);

    /**
     * @brief Returns the release of the library in use, such as "1.0.0".
     *
     * @return the release; never null. The string is static and must not be freed.
     *
     * Threads: any. From: ::MIROVAN_VERSION when the library was built.
     *
     * @see Mirovan_System_GetIdentity() for the release of the operating system
     */
    MIROVAN_API const char* Mirovan_GetVersion(void);

    /** @} */
    /** @name Arrays of rows
     *  @{ */

    /**
     * @brief Releases an array of rows, with all of its rows.
     *
     * @param pppTable address of the variable that holds the array (cast to void***); the variable
     *                 is set to null. If it is null already, nothing happens.
     * @param nListCount the count that came with the array.
     * @return false if pppTable is null, else true. The error state does not change.
     *
     * Threads: any, on different arrays. From: the C allocator.
     *
     * @see Mirovan_File_EnumFileA(), Mirovan_HardWare_GetDiskNumber()
     */
    MIROVAN_API bool Fundix_Memory_Free(void*** pppTable, int nListCount);

    /** @} */
    /** @name Files
     *  @{ */

    /**
     * @brief Returns size, times and flags of a file or folder; symbolic links are followed.
     *
     * @param lpszFile path, UTF-8.
     * @param pstFileAttr record to fill; untouched on failure.
     * @return true if the record was filled. Codes: ::ERROR_MIROVAN_FILE_ATTR_PARAMETER a null
     *         argument; ::ERROR_MIROVAN_FILE_ATTR_NOTFOUND the status cannot be read.
     *
     * Threads: any. From: stat(), access().
     *
     * @see Mirovan_File_Walk() for exact times, permissions and symbolic links
     */
    MIROVAN_API bool Mirovan_File_GetFileAttrA(const char* lpszFile,
                                               MIROVAN_FILE_ATTR* pstFileAttr);

    /**
     * @brief The same as Mirovan_File_GetFileAttrA() for a wide path.
     *
     * @param lpwszFile path, UTF-32; at most 1,023 bytes in UTF-8.
     * @param pstFileAttr record to fill; untouched on failure.
     * @return as Mirovan_File_GetFileAttrA(); ::ERROR_MIROVAN_FILE_ATTR_NOTFOUND also if the path
     *         is too long (ENAMETOOLONG) or not valid (EILSEQ).
     *
     * Threads: any. From: stat(), access().
     *
     * @see Mirovan_File_Walk() for exact times, permissions and symbolic links
     */
    MIROVAN_API bool Mirovan_File_GetFileAttrW(const wchar_t* lpwszFile,
                                               MIROVAN_FILE_ATTR* pstFileAttr);

    /**
     * @brief Writes a buffer to a file and replaces its content; creates missing folders first.
     *
     * @param lpszFile path of the file, UTF-8, at most 1,023 bytes; a name without a folder is in
     *                 the current folder.
     * @param lpszBuffer bytes to write; they may contain null bytes.
     * @param nBufLen number of bytes, 0 or more; with 0 the file becomes empty.
     * @return true if every byte was written and the file was closed without an error. Codes:
     *         ::ERROR_MIROVAN_FILE_SAVE_PARAMETER a null argument or a negative length;
     *         ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED the folder cannot be created;
     *         ::ERROR_MIROVAN_FILE_SAVE_OPEN the file cannot be opened, the path is too long, or
     *         bytes could not be written or were lost when the file was closed (the file is left
     *         short). If the folder was created, the code is ::ERROR_MIROVAN_FILE_ATTR_NOTFOUND
     *         after a success.
     *
     * Threads: any. From: stat(), mkdir(), open(), write(), close().
     *
     * @see Mirovan_File_CreateMutilFolderA(), Mirovan_File_CopyFileA()
     */
    MIROVAN_API bool Mirovan_File_SaveBuffToFileA(const char* lpszFile, const char* lpszBuffer,
                                                  int nBufLen);

    /**
     * @brief The same as Mirovan_File_SaveBuffToFileA() for a wide path.
     *
     * @param lpwszFile path of the file, UTF-32; at most 1,023 bytes in UTF-8.
     * @param lpszBuffer bytes to write.
     * @param nBufLen number of bytes, 0 or more.
     * @return as Mirovan_File_SaveBuffToFileA(); a path that is not valid gives
     *         ::ERROR_MIROVAN_FILE_SAVE_OPEN, or ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED if its
     *         folder part is not valid (EILSEQ).
     *
     * Threads: any. From: stat(), mkdir(), open(), write(), close().
     *
     * @see Mirovan_File_CreateMutilFolderW(), Mirovan_File_CopyFileW()
     */
    MIROVAN_API bool Mirovan_File_SaveBuffToFileW(const wchar_t* lpwszFile, const char* lpszBuffer,
                                                  int nBufLen);

    /**
     * @brief Lists a folder, or the whole tree below it, as an array of paths.
     *
     * A path that does not exist and whose last part has an extension is a pattern: the files of
     * the folder before it are listed whose extension begins with that one, in any case. Nothing
     * else of the last part counts: "folder/\*.txt" and "folder/missing.txt" both list a.txt, B.TXT
     * and c.txt2. "x\*" alone is not a pattern, and "folder/x\*" names nothing. After a success
     * with a pattern the code is ::ERROR_MIROVAN_FILE_ATTR_NOTFOUND.
     *
     * @param lpszPath a folder, a pattern, or a folder followed by "/\*" for all that is in it;
     *                 UTF-8, at most 1,023 bytes.
     * @param pppszFileList receives a null-terminated array of rows of 1,024 bytes, one path each,
     *                      in the order of the file system; release it with Fundix_Memory_Free().
     *                      Null to count only.
     * @param pnFileCount receives the number of paths; may be null.
     * @param bRecurse true for the whole tree (symbolic links are listed and not followed; folders
     *                 named "$RECYCLE.BIN" and "System Volume Information" are left out), false for
     *                 the folder's own entries.
     * @param nListType a ::Mirovan_ListKind; with any other value nothing is listed. A pattern does
     *                  not filter folders.
     * @return true if something was found. Codes: ::ERROR_MIROVAN_FILE_ATTR_PARAMETER a null path;
     *         ::ERROR_MIROVAN_FILE_ENUM_NOTDIR the folder does not exist (ENOENT, ENOTDIR), a
     *         folder cannot be read, with bRecurse the path of a file is not valid UTF-8 (EILSEQ),
     *         or memory ran out (nothing is written); ::ERROR_MIROVAN_FILE_ENUM_EMPTY nothing was
     *         found, the count is 0 and the array null: errno is EACCES or EPERM if a folder could
     *         not be read for lack of permission, else ENOENT.
     *
     * Folders that the caller may not read are listed and not entered. Left out are entries whose
     * status cannot be read and paths of 1,024 bytes or more; Mirovan_File_Walk() reports both.
     * Threads: any. From: openat(), readdir(), fstatat().
     *
     * @see Mirovan_File_Walk(), Mirovan_File_GetFileAttrA(), Fundix_Memory_Free()
     */
    MIROVAN_API bool Mirovan_File_EnumFileA(const char* lpszPath, char*** pppszFileList,
                                            int* pnFileCount, bool bRecurse, int nListType);

    /**
     * @brief The same as Mirovan_File_EnumFileA() for wide paths, without the trailing "*".
     *
     * @param lpwszPath a folder or a pattern, UTF-32; at most 1,023 bytes in UTF-8.
     * @param pppwszFileList receives a null-terminated array of rows of 1,024 wide characters; null
     *                       to count only.
     * @param pnFileCount receives the number of paths; may be null.
     * @param bRecurse as in Mirovan_File_EnumFileA().
     * @param nListType as in Mirovan_File_EnumFileA().
     * @return as Mirovan_File_EnumFileA(), except: ::ERROR_MIROVAN_FILE_ENUM_PARAMETER a null path;
     *         ::ERROR_MIROVAN_FILE_ENUM_NOTDIR also, with or without bRecurse, if the name of a
     *         folder entered or of an entry to list is not valid UTF-8 (EILSEQ).
     *
     * Threads: any. From: openat(), readdir(), fstatat().
     *
     * @see Mirovan_File_Walk(), Mirovan_File_GetFileAttrW(), Fundix_Memory_Free()
     */
    MIROVAN_API bool Mirovan_File_EnumFileW(const wchar_t* lpwszPath, wchar_t*** pppwszFileList,
                                            int* pnFileCount, bool bRecurse, int nListType);

    /**
     * @brief Makes sure that a path exists; creates every missing folder of it.
     *
     * @param lpszPath path, UTF-8, at most 1,023 bytes; one trailing backslash is dropped. If
     *                 anything exists there, a file too, that is a success and nothing is done.
     * @return true if the path exists. Codes: ::ERROR_MIROVAN_FILE_CREATEFOLDER_PARAMETER a null
     *         path; ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED it cannot be created or its status
     *         cannot be read (folders created before the failure remain).
     *
     * Threads: any. From: stat(), mkdir().
     *
     * @see Mirovan_File_DeleteMutilFolderA(), Mirovan_File_SaveBuffToFileA()
     */
    MIROVAN_API bool Mirovan_File_CreateMutilFolderA(const char* lpszPath);

    /**
     * @brief The same as Mirovan_File_CreateMutilFolderA() for a wide path.
     *
     * @param lpwszPath path, UTF-32, at most 1,023 characters of any length in UTF-8; macOS itself
     *                  takes at most 1,023 bytes.
     * @return as Mirovan_File_CreateMutilFolderA(); a path that is too long or not valid gives
     *         ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED (ENAMETOOLONG, EILSEQ).
     *
     * Threads: any. From: stat(), mkdir().
     *
     * @see Mirovan_File_DeleteMutilFolderW(), Mirovan_File_SaveBuffToFileW()
     */
    MIROVAN_API bool Mirovan_File_CreateMutilFolderW(const wchar_t* lpwszPath);

    /**
     * @brief Deletes a folder tree, or all that is in it.
     *
     * Symbolic links inside the tree are removed and never followed. What cannot be removed is
     * passed over. If the path names a symbolic link to a folder, with or without a slash behind
     * it, bDelRoot removes the link alone; without bDelRoot the content of that folder is removed.
     *
     * @param lpszPath path of the folder, UTF-8. If it does not exist or is not a folder, that is a
     *                 success and nothing is deleted.
     * @param bDelRoot true to delete the folder too, false to keep it, empty.
     * @return true if nothing is left. Codes: ::ERROR_MIROVAN_FILE_DELETEFOLDER_PARAMETER a null
     *         path; ::ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED something could not be removed; errno
     *         is that of the first failure (everything else is gone).
     *
     * Threads: any. From: stat(), openat(), unlinkat().
     *
     * @see Mirovan_File_CreateMutilFolderA(), Mirovan_File_Walk()
     */
    MIROVAN_API bool Mirovan_File_DeleteMutilFolderA(const char* lpszPath, bool bDelRoot);

    /**
     * @brief The same as Mirovan_File_DeleteMutilFolderA() for a wide path.
     *
     * @param lpwszPath path of the folder, UTF-32; at most 1,023 bytes in UTF-8.
     * @param bDelRoot as in Mirovan_File_DeleteMutilFolderA().
     * @return as Mirovan_File_DeleteMutilFolderA(); a path that is too long or not valid gives
     *         ::ERROR_MIROVAN_FILE_DELETEFOLDER_FAILED (ENAMETOOLONG, EILSEQ).
     *
     * Threads: any. From: stat(), openat(), unlinkat().
     *
     * @see Mirovan_File_CreateMutilFolderW(), Mirovan_File_Walk()
     */
    MIROVAN_API bool Mirovan_File_DeleteMutilFolderW(const wchar_t* lpwszPath, bool bDelRoot);

    /**
     * @brief Creates a file of zero bytes, each of which is written.
     *
     * @param lpszFile path of the file, UTF-8; an existing file is replaced. Its folder must exist.
     * @param nFileSize size in bytes, 1 or more.
     * @return true if the file has that size. Codes: ::ERROR_MIROVAN_FILE_SPARSE_PARAMETER a null
     *         path or a size below 1; ::ERROR_MIROVAN_FILE_SPARSE_OPEN the file cannot be opened;
     *         ::ERROR_MIROVAN_FILE_SPARSE_WRITE not all bytes could be written (the file is left
     *         short).
     *
     * Threads: any. From: open(), write(), close().
     *
     * @see Mirovan_File_SaveBuffToFileA()
     */
    MIROVAN_API bool Mirovan_File_CreateSparseFileA(const char* lpszFile, long long nFileSize);

    /**
     * @brief The same as Mirovan_File_CreateSparseFileA() for a wide path.
     *
     * @param lpwszFile path of the file, UTF-32; at most 1,023 bytes in UTF-8.
     * @param nFileSize size in bytes, 1 or more.
     * @return as Mirovan_File_CreateSparseFileA(); a path that is too long or not valid gives
     *         ::ERROR_MIROVAN_FILE_SPARSE_OPEN (ENAMETOOLONG, EILSEQ).
     *
     * Threads: any. From: open(), write(), close().
     *
     * @see Mirovan_File_SaveBuffToFileW()
     */
    MIROVAN_API bool Mirovan_File_CreateSparseFileW(const wchar_t* lpwszFile, long long nFileSize);

    /**
     * @brief Copies the content and the read, write and execute permissions of a file; creates
     * missing folders first.
     *
     * The copy belongs to the caller; set-user-ID, set-group-ID and sticky bits are not copied.
     * Until its content is complete, a new copy is accessible to its owner alone.
     *
     * @param lpszSrcFile path of a regular file, UTF-8; symbolic links are followed.
     * @param lpszDstFile path of the copy, UTF-8, at most 1,023 bytes; a name without a folder is
     *                    in the current folder.
     * @param bFailIfExists true to fail if anything, a dangling symbolic link included, exists at
     *                      the destination; false to replace the content of an existing file, whose
     *                      symbolic link is followed.
     * @return true if the copy is complete and was closed without an error. Codes:
     *         ::ERROR_MIROVAN_FILE_COPY_PARAMETER a null argument; ::ERROR_MIROVAN_FILE_COPY_EXIST
     *         the destination exists and must not; ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED its
     *         folder cannot be created; ::ERROR_MIROVAN_FILE_COPY_FAILED the copy failed: the
     *         source does not exist or is not a regular file, both are the same file, the
     *         destination cannot be written or its permissions not be set, or a path is too long
     *         (the destination may be left incomplete). If the folder was created, the code is
     *         ::ERROR_MIROVAN_FILE_ATTR_NOTFOUND after a success.
     *
     * Threads: any. From: access(), stat(), mkdir(), open(), fcopyfile(), fchmod(); on macOS
     * fclonefileat() first, on Linux copy_file_range().
     *
     * @see Mirovan_File_SaveBuffToFileA(), Mirovan_File_GetFileAttrA()
     */
    MIROVAN_API bool Mirovan_File_CopyFileA(const char* lpszSrcFile, const char* lpszDstFile,
                                            bool bFailIfExists);

    /**
     * @brief The same as Mirovan_File_CopyFileA() for wide paths.
     *
     * @param lpwszSrcFile path of a regular file, UTF-32; at most 1,023 bytes in UTF-8.
     * @param lpwszDstFile path of the copy, UTF-32; at most 1,023 bytes in UTF-8.
     * @param bFailIfExists as in Mirovan_File_CopyFileA().
     * @return as Mirovan_File_CopyFileA(); a path that is too long or not valid gives
     *         ::ERROR_MIROVAN_FILE_COPY_FAILED (ENAMETOOLONG, EILSEQ), or
     *         ::ERROR_MIROVAN_FILE_CREATEFOLDER_FAILED if it is the folder part of the destination
     *         that is not valid.
     *
     * Threads: any. From: as Mirovan_File_CopyFileA().
     *
     * @see Mirovan_File_SaveBuffToFileW(), Mirovan_File_GetFileAttrW()
     */
    MIROVAN_API bool Mirovan_File_CopyFileW(const wchar_t* lpwszSrcFile,
                                            const wchar_t* lpwszDstFile, bool bFailIfExists);

    /** @brief Kinds of entries, from Mirovan_File_Walk(); symbolic links are not followed. */
    enum Mirovan_FileKind
    {
        MIROVAN_KIND_UNKNOWN = 0, /**< The file system does not report it. */
        MIROVAN_KIND_FILE = 1,    /**< A regular file. */
        MIROVAN_KIND_FOLDER = 2,  /**< A folder. */
        MIROVAN_KIND_LINK = 3,    /**< A symbolic link. */
        MIROVAN_KIND_OTHER = 4    /**< A device, FIFO or socket. */
    };

    /** @brief Flags of Mirovan_File_Walk(), to combine in MIROVAN_WALK::nFlags. */
    enum Mirovan_WalkFlag
    {
        MIROVAN_WALK_STATUS = 1,      /**< Fill the status fields and the link target. */
        MIROVAN_WALK_SAME_VOLUME = 2, /**< Do not enter folders of other volumes. */
        MIROVAN_WALK_FOLDERS_LAST = 4 /**< Report each folder after its content. */
    };

    /** @brief Return values of the callback of Mirovan_File_Walk(). */
    enum Mirovan_WalkNext
    {
        MIROVAN_WALK_CONTINUE = 0, /**< Continue. */
        MIROVAN_WALK_SKIP = 1,     /**< Continue, but do not enter this folder. */
        MIROVAN_WALK_STOP = 2      /**< End the walk, which is a success. */
    };

    /** @brief Bits of MIROVAN_WALK_ENTRY::nKnown. */
    enum Mirovan_WalkKnown
    {
        MIROVAN_WALK_KNOWN_STATUS = 1, /**< All fields from nFileSize to nGroupId. */
        MIROVAN_WALK_KNOWN_TARGET = 2  /**< lpszLinkTarget. */
    };

    /** @brief Options of Mirovan_File_Walk(). Clear the record, then set nSize. */
    typedef struct MIROVAN_WALK
    {
        uint32_t nSize;          /**< sizeof(MIROVAN_WALK). */
        uint32_t nFlags;         /**< Values of ::Mirovan_WalkFlag. */
        int32_t nMaxDepth;       /**< Deepest level to report, 1 for the folder's own entries; 0 for
                                      all. */
        uint32_t nReserved;      /**< 0. */
        const char* lpszPattern; /**< Report only names that match, as fnmatch() does; null for all.
                                      Folders are entered whatever their names. */
    } MIROVAN_WALK;

    /** @brief An entry, from Mirovan_File_Walk(). Its strings are valid during the callback. */
    typedef struct MIROVAN_WALK_ENTRY
    {
        uint32_t nSize;         /**< sizeof(MIROVAN_WALK_ENTRY) of the library. */
        uint32_t nKnown;        /**< Values of ::Mirovan_WalkKnown. */
        const char* lpszPath;   /**< The given path, a slash and the names below it. */
        const char* lpszName;   /**< The last name of lpszPath. */
        int32_t nKind;          /**< A value of ::Mirovan_FileKind. */
        int32_t nDepth;         /**< 1 for the entries of the given folder, 0 for itself. */
        int32_t nErrno;         /**< Why the entry, or the content of the folder, cannot be read;
                                         0 if it can. */
        uint32_t nPermissions;  /**< Permission bits, with set-user-ID, set-group-ID and sticky. */
        int64_t nFileSize;      /**< Size in bytes. */
        int64_t nAllocatedSize; /**< Bytes allocated on the volume. */
        int64_t nModifyTime;    /**< Last modification, nanoseconds since 1970 UTC. */
        int64_t nAccessTime;    /**< Last access, nanoseconds since 1970 UTC. */
        int64_t nStatusTime;    /**< Last change of the status, nanoseconds since 1970 UTC. */
        uint64_t nDevice;       /**< Device number of its volume. */
        uint64_t nInode;        /**< Inode number. */
        uint64_t nLinkCount;    /**< Number of hard links. */
        uint32_t nUserId;       /**< Owner. */
        uint32_t nGroupId;      /**< Group. */
        const char* lpszLinkTarget; /**< Target of a symbolic link; null if unknown. */
    } MIROVAN_WALK_ENTRY;

    /**
     * @brief Passes each entry below a folder to a function, which controls the walk.
     *
     * A folder is reported before its content, or after it with ::MIROVAN_WALK_FOLDERS_LAST; the
     * order is otherwise that of the file system. Symbolic links are reported and not followed, but
     * lpszPath itself may be one. Paths may have any length, trees any depth: at most 32 file
     * descriptors are open at once. Names are bytes; nothing is converted.
     *
     * What cannot be read does not end the walk: an entry whose status cannot be read, for example
     * because it was deleted meanwhile, comes without its status and with nErrno set, a folder that
     * cannot be opened with nErrno set. A folder whose listing ends with an error is reported once
     * more, with nErrno set. Such a report comes whatever its name and the pattern.
     *
     * @param lpszPath path of the folder, UTF-8. It is not reported itself, except with nErrno set
     *                 and the depth 0 when its listing ends with an error.
     * @param pstWalk options; null for none. nSize must be set.
     * @param pfnEntry called for each entry with pContext; the entry and its strings are valid
     *                 during the call. It returns a value of ::Mirovan_WalkNext.
     *                 ::MIROVAN_WALK_SKIP applies to a folder that is reported before its content.
     * @param pContext passed to pfnEntry; may be null.
     * @return true if the walk ended, or pfnEntry stopped it. Codes:
     *         ::ERROR_MIROVAN_FILE_WALK_PARAMETER a null path or callback, an nSize that is too
     *         small, an unknown flag or a negative depth (EINVAL); ::ERROR_MIROVAN_FILE_WALK_FAILED
     *         the folder cannot be opened (pfnEntry was not called), a folder was moved away during
     *         the walk (ESTALE), or memory ran out.
     *
     * Threads: any; the callback runs on the calling thread. From: openat(), readdir(), fstatat(),
     * readlinkat(), fnmatch().
     *
     * @see Mirovan_File_EnumFileA(), Mirovan_File_GetFileAttrA()
     */
    MIROVAN_API bool Mirovan_File_Walk(const char* lpszPath, const MIROVAN_WALK* pstWalk,
                                       int (*pfnEntry)(const MIROVAN_WALK_ENTRY* pstEntry,
                                                       void* pContext),
                                       void* pContext);

    /** @} */
    /** @name Hardware
     *  @{ */

    /**
     * @brief Returns the file system and the size of the volume that holds a path.
     *
     * @param lpszPath an existing path on the volume, UTF-8.
     * @param pstDiskInfo record to fill; nReserved is not changed.
     * @param nUnit unit of the sizes, a ::Mirovan_Unit; sizes are rounded down.
     * @return true if the record was filled. Codes: ::ERROR_MIROVAN_HARDWARE_PARAMETER a null
     *         argument; ::ERROR_MIROVAN_HARDWARE_DISK_STATFS the volume cannot be read (both leave
     *         the record untouched); ::ERROR_MIROVAN_HARDWARE_DISK_UNIT an unknown unit (the record
     *         is filled, in bytes).
     *
     * Threads: any. From: statfs(); on Linux the file system from /proc/self/mountinfo.
     *
     * @see Mirovan_HardWare_ListVolumes()
     */
    MIROVAN_API bool Mirovan_HardWare_GetDiskInfomation(const char* lpszPath,
                                                        tag_Mirovan_Disk_Information* pstDiskInfo,
                                                        int nUnit);

    /**
     * @brief Lists the names of the writable volumes in the storage report of the system.
     *
     * A name is a heading of that report, and not always a path. Mirovan_HardWare_ListVolumes()
     * returns mount points and sizes, and runs no command.
     *
     * @param pppszDiskList receives an array of rows of 1,024 bytes, one name each, in the order of
     *                      the report; release it with Fundix_Memory_Free(). Null to count only.
     * @param pnDiskCount receives the number of names; 0 is a success.
     * @return true if the report was read. Codes: ::ERROR_MIROVAN_HARDWARE_PARAMETER a null count,
     *         or the report is unavailable or memory ran out; in these cases nothing is written.
     *
     * Blocks while the report is made, on macOS for seconds. Threads: any. From: the output of
     * "system_profiler SPStorageDataType".
     *
     * @see Mirovan_HardWare_ListVolumes(), Fundix_Memory_Free()
     */
    MIROVAN_API bool Mirovan_HardWare_GetDiskNumber(char*** pppszDiskList, int* pnDiskCount);

    /**
     * @brief Returns the name of the processor, the model identifier and the processor counts.
     *
     * @param pstCpuInfo record to fill. Clear it first: fields that the report lacks are not
     *                   changed.
     * @return true if the report was read. Codes: ::ERROR_MIROVAN_HARDWARE_PARAMETER a null record,
     *         or the report is unavailable (the two counts are filled then).
     *
     * Blocks while the report is made, on macOS for seconds. Threads: any. From: the output of
     * "system_profiler SPHardwareDataType", sysconf(), std::thread::hardware_concurrency().
     *
     * @see Mirovan_System_GetIdentity(), Mirovan_System_GetProcessCount()
     */
    MIROVAN_API bool Mirovan_HardWare_GetCpuInfomation(tag_Mirovan_Cpu_Information* pstCpuInfo);

    /**
     * @brief Returns the serial numbers and UUIDs of the machine.
     *
     * @param pstSerialInfo record to fill. Clear it first: each value is appended to its field,
     *                      truncated to its size. The first of tszSystemSerial, tszPlatformSerial,
     *                      tszVolumeUUID and tszHardwareUUID that begins with "None" or "null", in
     *                      any case, is cleared.
     * @return true if a record was given. Code: ::ERROR_MIROVAN_HARDWARE_PARAMETER a null record,
     *         or memory ran out. Missing identifiers are left empty and are not an error; the flag
     *         and the code are then those of the last command.
     *
     * Blocks while a command runs for each identifier; on Macs whose device registry lists another
     * part of the platform's number first, one more runs. Threads: any. From: the output of
     * system_profiler and ioreg in a shell, with grep, head, awk, sed and xxd.
     *
     * @see Mirovan_HardWare_GetCpuInfomation(), Mirovan_System_GetIdentity()
     */
    MIROVAN_API bool Mirovan_HardWare_GetSerial(tag_Mirovan_SdkSerial_Information* pstSerialInfo);

    /** @brief Flags of Mirovan_HardWare_ListVolumes(). */
    enum Mirovan_VolumeFlag
    {
        /** Reads the sizes of network volumes too; blocks if a server does not respond. */
        MIROVAN_VOLUMES_NETWORK_SIZES = 0x1,
        /** Lists every mount: those of the kernel, and each mount point of a volume, too. */
        MIROVAN_VOLUMES_ALL_MOUNTS = 0x2
    };

    /** @brief Bits of ::MIROVAN_VOLUME's nKnown. */
    enum Mirovan_VolumeKnown
    {
        MIROVAN_VOLUME_KNOWN_MOUNT_POINT = 0x1, /**< tszMountPoint */
        MIROVAN_VOLUME_KNOWN_DEVICE = 0x2,      /**< tszDevice */
        MIROVAN_VOLUME_KNOWN_TYPE = 0x4,        /**< tszType */
        MIROVAN_VOLUME_KNOWN_LABEL = 0x8,       /**< tszLabel */
        MIROVAN_VOLUME_KNOWN_TOTAL = 0x10,      /**< nTotal */
        MIROVAN_VOLUME_KNOWN_FREE = 0x20,       /**< nFree */
        MIROVAN_VOLUME_KNOWN_AVAILABLE = 0x40,  /**< nAvailable */
        MIROVAN_VOLUME_KNOWN_READ_ONLY = 0x80,  /**< bReadOnly */
        MIROVAN_VOLUME_KNOWN_REMOVABLE = 0x100, /**< bRemovable */
        MIROVAN_VOLUME_KNOWN_LOCAL = 0x200      /**< bLocal */
    };

    /** @brief A mounted volume, from Mirovan_HardWare_ListVolumes(). */
    typedef struct MIROVAN_VOLUME
    {
        uint32_t nSize;  /**< Size of the record. */
        uint32_t nKnown; /**< ::Mirovan_VolumeKnown bits; an unknown field is 0 or empty. */
        char tszMountPoint[1024]; /**< Path of its mount point. */
        char tszDevice[1024];     /**< Device, or server and path, as passed to mount. */
        char tszType[32];         /**< Name of the file system, such as "apfs", "ext4" or "nfs4". */
        char tszLabel[256];       /**< Name of the volume; unknown if it has none. */
        uint64_t nTotal;          /**< Size in bytes. */
        uint64_t nFree;           /**< Free bytes. */
        uint64_t nAvailable;      /**< Free bytes available to an unprivileged user. */
        bool bReadOnly;           /**< It is mounted read-only. */
        bool bRemovable;          /**< Its medium can be removed. */
        bool bLocal;              /**< It is on a device of this machine. */
    } MIROVAN_VOLUME;

    /**
     * @brief Lists the mounted volumes, each once.
     *
     * The list has the volume of the root folder, the volumes on block devices and those of
     * servers. It leaves out bind mounts of a listed volume, the layers of an overlay, memory and
     * kernel file systems, and on macOS the volumes that the Finder hides. A volume with several
     * mount points is listed at the first one that shows all of it. Network volumes are not
     * accessed unless nFlags asks for it, so their sizes are unknown. Mount points of 1,024 bytes
     * or more are left out.
     *
     * @param nFlags ::Mirovan_VolumeFlag bits, or 0.
     * @param pfnVolume called for each volume, on the calling thread; returns false to end the
     *                  listing, which is a success. The record belongs to the library and is valid
     *                  during the call.
     * @param pContext passed to pfnVolume; may be null.
     * @return true if the volumes were listed, or pfnVolume ended the listing. Codes:
     *         ::ERROR_MIROVAN_HARDWARE_PARAMETER a null function or an unknown flag (EINVAL);
     *         ::ERROR_MIROVAN_HARDWARE_VOLUMES_FAILED the list cannot be read. The function is not
     *         called if the operation fails.
     *
     * Threads: any. From: getfsstat() without waiting, getattrlist(); on Linux
     * /proc/thread-self/mountinfo, statvfs(), /sys/dev/block and the labels of FS_IOC_GETFSLABEL
     * and /dev/disk/by-label.
     *
     * @see Mirovan_HardWare_GetDiskInfomation()
     */
    MIROVAN_API bool Mirovan_HardWare_ListVolumes(uint32_t nFlags,
                                                  bool (*pfnVolume)(const MIROVAN_VOLUME* pstVolume,
                                                                    void* pContext),
                                                  void* pContext);

    /** @} */
    /** @name Processes
     *  @{ */

    /**
     * @brief Runs a shell command and appends selected lines of its output to a buffer.
     *
     * Lines keep their newline. A line of more than 2,047 bytes counts as several lines: chunks of
     * 2,047 bytes and the rest. A line that contains a null byte is truncated there.
     *
     * @param lpszCommand command line for /bin/sh; stderr is inherited.
     * @param lpszResult buffer that holds a null-terminated string, to which the lines are
     *                   appended. It must be large enough for the selected lines: use
     *                   Mirovan_Process_ReadCmdLines() for output of unknown length.
     * @param nLineCount number of lines to take; 0 or less for all.
     * @param nStartLine number of the first line to take, from 1; 1 or less for the first.
     * @param pnResultLen receives the number of bytes appended; may be null; untouched on failure.
     * @return true if the command was started and its output read, whatever it printed and however
     *         it ended. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null command or buffer;
     *         ::ERROR_MIROVAN_PROCESS_ACCESS the shell cannot be started or its output cannot be
     *         read. On failure the buffer holds the string that it held before.
     *
     * The command runs as given, with the caller's environment; it may begin with a hyphen. Blocks
     * until the selected lines have been read, or the output has ended, and the shell has ended.
     * Mirovan_Process_Execute() also returns the exit status, and every byte of the output.
     * Threads: any. From: posix_spawn() of /bin/sh, a pipe.
     *
     * @see Mirovan_Process_ReadCmdLines(), Mirovan_Process_Execute()
     */
    MIROVAN_API bool Mirovan_Process_ReadCmdReturn(const char* lpszCommand, char* lpszResult,
                                                   int nLineCount, int nStartLine,
                                                   int* pnResultLen);

    /**
     * @brief Runs a shell command and passes selected lines of its output to a function.
     *
     * It selects lines as Mirovan_Process_ReadCmdReturn() does, and needs no buffer.
     *
     * @param lpszCommand command line for /bin/sh; stderr is inherited.
     * @param nLineCount number of lines to take; 0 or less for all.
     * @param nStartLine number of the first line to take, from 1; 1 or less for the first.
     * @param pfnPiece called for each line, or chunk of a long line, with a null-terminated string
     *                 of at most 2,047 bytes, its length, and pContext. The string is valid during
     *                 the call. It returns false to stop, which is a success.
     * @param pContext passed to pfnPiece; may be null.
     * @return as Mirovan_Process_ReadCmdReturn(): ::ERROR_MIROVAN_PROCESS_PARAMETER a null command
     *         or function; ::ERROR_MIROVAN_PROCESS_ACCESS the shell cannot be started or its output
     *         cannot be read (the function may have been called before).
     *
     * Failures of operations that pfnPiece calls do not count: if the result is true, the error
     * flag is clear. Threads: any; the function is called on the calling thread. From:
     * posix_spawn() of /bin/sh, a pipe.
     *
     * @see Mirovan_Process_ReadCmdReturn(), Mirovan_Process_Execute()
     */
    MIROVAN_API bool Mirovan_Process_ReadCmdLines(
        const char* lpszCommand, int nLineCount, int nStartLine,
        bool (*pfnPiece)(const char* lpszPiece, int nPieceLen, void* pContext), void* pContext);

    /**
     * @brief Returns a snapshot of one process.
     *
     * Mirovan_Process_GetRecord() returns exact values, and marks each field as known or unknown.
     *
     * @param pstProcessInfo record to fill. nProcessId is set first, also on failure.
     * @param lpszProcessName name to store in the record, or null to store the short name of the
     *                        process.
     * @param nPid process id. 0 does not stand for the calling process here; use getpid().
     * @return true if the record was filled. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null
     *         record; ::ERROR_MIROVAN_PROCESS_INFO_FAILED the process cannot be read (only
     *         nProcessId is written), or its user has no account (tszUserName alone is not
     *         written).
     *
     * For processes of other users macOS reports only name, user and state, except to root; the
     * other fields are 0. Threads: any. From: proc_pidinfo() with PROC_PIDTASKALLINFO, else
     * sysctl() KERN_PROC_PID; getpwuid_r(), whose result each thread reuses for up to a second; on
     * Linux /proc.
     *
     * @see Mirovan_Process_GetRecord(), Mirovan_Process_List()
     */
    MIROVAN_API bool Mirovan_Process_GetProcessInfo(tag_Mirovan_Process_Infomation* pstProcessInfo,
                                                    const char* lpszProcessName, int nPid);

    /**
     * @brief Returns the processor usage of a process in thousandths of a processor.
     *
     * The value is the sum over its threads; on Linux it is the average over the lifetime of the
     * process. For the usage in an interval, read nUserTime and nSystemTime of
     * Mirovan_Process_GetRecord() at its start and at its end.
     *
     * @param pnCpuUsage receives the usage; untouched on failure.
     * @param nPid process id; 0 for the calling process.
     * @return true if the usage was read. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null output;
     *         ::ERROR_MIROVAN_PROCESS_ACCESS the process cannot be read.
     *
     * Threads: any. From: proc_pidinfo() with PROC_PIDTHREADINFO and PROC_PIDLISTTHREADS, which
     * macOS allows only root to use on processes of other users; on Linux /proc.
     *
     * @see Mirovan_Process_GetRecord(), Mirovan_System_GetProcessorTimes()
     */
    MIROVAN_API bool Mirovan_Process_GetProcessCpuUsage(int* pnCpuUsage, int nPid);

    /**
     * @brief Returns the start time of a process in local time.
     *
     * @param pstLibTime record to fill; untouched on failure.
     * @param nPid process id; 0 for the calling process.
     * @return true if the record was filled. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null
     *         record; ::ERROR_MIROVAN_PROCESS_ACCESS the process cannot be read;
     *         ::ERROR_MIROVAN_PROCESS_UPTIME_TIME the time cannot be expressed in local time.
     *
     * Threads: any. From: proc_pidinfo() with PROC_PIDTASKALLINFO, else sysctl() KERN_PROC_PID;
     * localtime_r(); on Linux /proc.
     *
     * @see Mirovan_Process_GetRecord() for UTC in nanoseconds, Mirovan_System_GetUpTime()
     */
    MIROVAN_API bool Mirovan_Process_GetUpTime(TARVELO_LIBTIME* pstLibTime, int nPid);

    /**
     * @brief Returns the full path of the program that a process runs.
     *
     * @param lpszProcessPath buffer of 1,024 bytes.
     * @param nPid process id; 0 for the calling process.
     * @return true if the path was read. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null buffer;
     *         ::ERROR_MIROVAN_PROCESS_GET_FAILED the path cannot be read.
     *
     * Threads: any. From: proc_pidpath(); on Linux /proc.
     *
     * @see Mirovan_Process_GetRecord(), Mirovan_Process_GetProcessInfo()
     */
    MIROVAN_API bool Mirovan_Process_GetPath(char* lpszProcessPath, int nPid);

    /**
     * @brief Returns whether the calling process runs as root.
     *
     * @return true if the effective user id is 0. It cannot fail: false is not an error.
     *
     * Threads: any. From: geteuid().
     *
     * @see Mirovan_System_GetSysName()
     */
    MIROVAN_API bool Mirovan_Process_IsAdmin(void);

    /**
     * @brief Returns the priority (nice value) of a process.
     *
     * @param pnPriority receives the value, -20 to 20; untouched on failure.
     * @param nPid process id; 0 for the calling process.
     * @return true if the value was read. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null output;
     *         ::ERROR_MIROVAN_PROCESS_GETPRIORITY_FAILED there is no such process.
     *
     * Threads: any. From: getpriority().
     *
     * @see Mirovan_Process_SetPriority(), Mirovan_Process_GetRecord()
     */
    MIROVAN_API bool Mirovan_Process_GetPriority(int* pnPriority, int nPid);

    /**
     * @brief Sets the priority (nice value) of a process.
     *
     * @param nPriority -20 (scheduled first) to 20 (scheduled last).
     * @param nPid process id; 0 for the calling process.
     * @return true if the value was set. Codes: ::ERROR_MIROVAN_PROCESS_SETPRIORITY_RANGE a value
     *         outside the range; ::ERROR_MIROVAN_PROCESS_SETPRIORITY_FAILED there is no such
     *         process, or it is not permitted.
     *
     * Threads: any. From: setpriority(); on Linux for each thread of the process.
     *
     * @see Mirovan_Process_GetPriority()
     */
    MIROVAN_API bool Mirovan_Process_SetPriority(int nPriority, int nPid);

    /**
     * @brief Interrupts a process (SIGINT) and, if it is a child of the caller, waits until it
     * ends.
     *
     * If a child ignores SIGINT, the call blocks until the child ends by itself.
     *
     * @param lpszProcessName a grep pattern, at most 974 bytes: the first process whose line in "ps
     *                        -aux" matches is interrupted (on macOS, where ps sorts by processor
     *                        usage, the busiest one). Lines that contain "grep" are left out; an
     *                        empty string matches nothing. Characters beyond ASCII match only if
     *                        the environment sets a UTF-8 locale, since ps prints them only then.
     *                        Null to select the process by nPid.
     * @param nPid process id, above 0; used only if lpszProcessName is null.
     * @param bIgnoreChild true to ignore SIGCHLD process-wide during the call; its action is the
     *                     default afterwards, whatever it was before.
     * @return true if the signal was sent. Codes: ::ERROR_MIROVAN_PROCESS_STOP_FIND the command
     *         that finds the process cannot be run, or the name is too long;
     *         ::ERROR_MIROVAN_PROCESS_NOTFOUND no process matches; ::ERROR_MIROVAN_PROCESS_ACCESS
     *         not permitted; ::ERROR_MIROVAN_PROCESS_STOP_KILL there is no such process, or the id
     *         is 0 or below (errno EINVAL, no signal is sent).
     *
     * Threads: any without bIgnoreChild; with it, SIGCHLD is ignored for other threads too. From:
     * kill(), waitpid(), and ps, grep and awk in a shell.
     *
     * @see Mirovan_Process_List() to find a process without a shell, Mirovan_Process_Wait()
     */
    MIROVAN_API bool Mirovan_Process_Stop(const char* lpszProcessName, int nPid, bool bIgnoreChild);

    /**
     * @brief Starts a program with arguments and an empty environment; does not wait for it.
     *
     * The caller must reap the child with Mirovan_Process_Wait() or waitpid(), or ignore SIGCHLD.
     *
     * @param pnPid receives the process id; untouched on failure.
     * @param lpszProcessPath path of the program, UTF-8, at most 1,023 bytes; PATH is not searched.
     *                        Its last part becomes argument zero.
     * @param lpszArgs further arguments, separated by spaces, at most 1,023 bytes; quotes and tabs
     *                 have no special meaning. May be null.
     * @param bOption ignored.
     * @return true if the program was started. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null
     *         output or path; ::ERROR_MIROVAN_PROCESS_EXEC the program cannot be started, or a
     *         string is too long.
     *
     * Threads: any. From: posix_spawn().
     *
     * @see Mirovan_Process_Wait(), Mirovan_Process_Execute() for an argument array and an
     *      environment, Mirovan_Process_RunProcess()
     */
    MIROVAN_API bool Mirovan_Process_CreateProcess(unsigned long* pnPid,
                                                   const char* lpszProcessPath,
                                                   const char* lpszArgs, bool bOption);

    /**
     * @brief Starts a program with one or two arguments and the caller's environment; does not
     * wait.
     *
     * A program that cannot be executed is not reported as a failure: its process exits with status
     * 127. The caller must reap the child with Mirovan_Process_Wait() or waitpid(), or ignore
     * SIGCHLD.
     *
     * @param pnPid receives the process id; untouched on failure.
     * @param lpszProcessPath path of the program; PATH is not searched.
     * @param lpszArg0 argument zero of the program.
     * @param lpszArg1 first argument of the program; may be null.
     * @param bOption ignored.
     * @return true if the process was created. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null
     *         output, path or lpszArg0; ::ERROR_MIROVAN_PROCESS_FORK the process cannot be created.
     *
     * Threads: any. From: a child process that shares memory until the program starts, execl().
     *
     * @see Mirovan_Process_Wait(), Mirovan_Process_Execute() to learn why a program cannot be
     *      started, Mirovan_Process_CreateProcess()
     */
    MIROVAN_API bool Mirovan_Process_RunProcess(unsigned long* pnPid, const char* lpszProcessPath,
                                                const char* lpszArg0, const char* lpszArg1,
                                                bool bOption);

    /**
     * @brief Sets the affinity tag of a thread; the scheduler tries to run threads of one tag on
     * processors that share a cache.
     *
     * @param hThread a live thread of this process.
     * @param nCpuTag the tag, of which the low 32 bits are used; 0 for no affinity.
     * @return true if the tag was set. Code: ::ERROR_MIROVAN_PROCESS_SETCPU_FAILED the tag cannot
     *         be set; errno is EINVAL if the handle is found not to be that of a live thread.
     *
     * Threads: any, on any thread of the process. From: thread_policy_set() with
     * THREAD_AFFINITY_POLICY; on Linux the tag is stored with the thread, and the scheduler does
     * not use it.
     *
     * @see Mirovan_Process_GetProcessForCpu()
     */
    MIROVAN_API bool Mirovan_Process_SetProcessForCpu(pthread_t hThread, unsigned long nCpuTag);

    /**
     * @brief Returns the affinity tag of a thread.
     *
     * @param hThread a live thread of this process.
     * @param pnCpuTag receives the tag, sign-extended; untouched on failure.
     * @return true if the tag was read. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null output;
     *         ::ERROR_MIROVAN_PROCESS_GET_FAILED the tag cannot be read.
     *
     * Threads: any, on any thread of the process. From: thread_policy_get() with
     * THREAD_AFFINITY_POLICY; on Linux the tag stored with the thread.
     *
     * @see Mirovan_Process_SetProcessForCpu()
     */
    MIROVAN_API bool Mirovan_Process_GetProcessForCpu(pthread_t hThread, unsigned long* pnCpuTag);

    /**
     * @brief Runs a program or a shell command line, passes its output to functions of the caller
     * and waits for it.
     *
     * The command leads its own process group, has the standard streams and no other file
     * descriptor, and has the caller's signal mask. Output and errors are passed on byte for byte
     * as they arrive. The call returns when the command itself has ended and all of its output has
     * been passed on, even if a background process that it left still holds its pipes. The signal
     * settings of the process are not changed: SIGCHLD may be ignored or handled, and input that
     * the command does not read causes no SIGPIPE.
     *
     * At the limit, or if a function returns false or nStopDescriptor becomes readable, the process
     * group receives SIGTERM and, after the grace period, SIGKILL. When the command has ended, the
     * remaining processes of the group are killed.
     *
     * @param pstCommand the command and its options; the caller sets nSize.
     * @param pstResult receives how the command ended; the caller sets nSize. Untouched on failure.
     * @return true if the command was run, however it ended. Codes:
     *         ::ERROR_MIROVAN_PROCESS_PARAMETER a null record, an nSize that is too small, both or
     *         neither of ppszArguments and lpszShellLine, an unknown flag, a negative limit, a
     *         length without input, or pfnErrors together with ::MIROVAN_COMMAND_MERGE;
     *         ::ERROR_MIROVAN_PROCESS_EXECUTE_FAILED the program cannot be started (ENOENT: there
     *         is no such program or folder), or a pipe to it failed and it was ended.
     *
     * Blocks until the command has ended. The functions are called on the calling thread; limits
     * are not checked while one runs. Failures of operations that they call do not count: if the
     * result is true, the error flag is clear. Threads: any. From: posix_spawn(), a pipe for each
     * stream, poll(), wait4(); kqueue, on Linux pidfd_open(). If another thread reaps the child, or
     * ignoring SIGCHLD discards its status, how it ended comes from kqueue, and on Linux from the
     * kernel since 6.15; on older kernels, and for a command that ends before it is watched, it is
     * ::MIROVAN_END_UNKNOWN.
     *
     * @see Mirovan_Process_CreateProcess() to start a program without waiting,
     *      Mirovan_Process_ReadCmdLines(), Mirovan_Process_Wait()
     */
    MIROVAN_API bool Mirovan_Process_Execute(const MIROVAN_COMMAND* pstCommand,
                                             MIROVAN_COMMAND_RESULT* pstResult);

    /**
     * @brief Waits for a child that Mirovan_Process_CreateProcess() or Mirovan_Process_RunProcess()
     * started, and reaps it.
     *
     * @param nPid process id of the child, above 0.
     * @param nLimitMs longest time to wait, in milliseconds; 0 returns at once, below 0 waits
     *                 without limit.
     * @param pstResult receives how the child ended, or ::MIROVAN_END_RUNNING if it still runs; its
     *                  wall time is unknown. The caller sets nSize. Untouched on failure.
     * @return true if the child has ended or the limit is over. Codes:
     *         ::ERROR_MIROVAN_PROCESS_PARAMETER an id of 0 or below, a null record, or an nSize
     *         that is too small; ::ERROR_MIROVAN_PROCESS_WAIT_FAILED it is not a child of the
     *         caller, or has been reaped already (errno ECHILD).
     *
     * Threads: any; if several wait for the same child, one of them receives how it ended. From:
     * wait4(), kqueue; on Linux pidfd_open().
     *
     * @see Mirovan_Process_CreateProcess(), Mirovan_Process_RunProcess(), Mirovan_Process_Execute()
     */
    MIROVAN_API bool Mirovan_Process_Wait(int nPid, int64_t nLimitMs,
                                          MIROVAN_COMMAND_RESULT* pstResult);

    /**
     * @brief Passes a record of each process to a function.
     *
     * Processes that end meanwhile are left out. For processes that the caller may not inspect,
     * fewer fields are known.
     *
     * @param pfnProcess called for each process with its record, which is valid during the call,
     *                   and pContext. It returns false to end the listing, which is a success.
     * @param pContext passed to pfnProcess; may be null.
     * @return true if the processes were listed. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null
     *         function; ::ERROR_MIROVAN_PROCESS_LIST_FAILED the processes cannot be listed.
     *
     * Failures of operations that pfnProcess calls do not count: if the result is true, the error
     * flag is clear. Threads: any; the function is called on the calling thread. From:
     * proc_listallpids() and the sources of Mirovan_Process_GetRecord(); on Linux /proc.
     *
     * @see Mirovan_Process_GetRecord()
     */
    MIROVAN_API bool Mirovan_Process_List(
        bool (*pfnProcess)(const MIROVAN_PROCESS_RECORD* pstRecord, void* pContext),
        void* pContext);

    /**
     * @brief Returns the record of one process, with exact values and each field marked as known or
     * unknown.
     *
     * @param nPid process id; 0 for the calling process.
     * @param pstRecord record to fill; the caller sets nSize. Untouched on failure.
     * @return true if the process exists. Codes: ::ERROR_MIROVAN_PROCESS_PARAMETER a null record,
     *         or an nSize that is too small; ::ERROR_MIROVAN_PROCESS_RECORD_FAILED there is no such
     *         process (errno ESRCH), or it cannot be read.
     *
     * Threads: any. From: proc_pidinfo() with PROC_PIDTASKALLINFO; for processes of other users,
     * which macOS lets only root inspect, id, parent, user, name, state, nice value and start time
     * from sysctl() KERN_PROC_PID. On Linux /proc/PID/stat, whose times count clock ticks (10 ms).
     *
     * @see Mirovan_Process_List(), Mirovan_Process_GetPath()
     */
    MIROVAN_API bool Mirovan_Process_GetRecord(int nPid, MIROVAN_PROCESS_RECORD* pstRecord);

    /** @} */
    /** @name System
     *  @{ */

    /**
     * @brief Returns the name and the release of the operating system's kernel.
     *
     * Mirovan_System_GetIdentity() also returns the name and version of the system itself, such as
     * "macOS" and "13.6.1".
     *
     * @param lpszSysName buffer of 256 bytes for the name of the system.
     * @param lpszSysVersion buffer of 256 bytes for the kernel release.
     * @param lpszSysCodeName buffer of 8 bytes; receives "ventura".
     * @param pnSysType receives 2.
     * @param lpszSysRelease buffer of 256 bytes, which also receives the kernel release; may be
     *                       null.
     * @return true if all outputs were filled. Codes: ::ERROR_MIROVAN_SYSTEM_PARAMETER one of the
     *         first four arguments is null; ::ERROR_MIROVAN_SYSTEM_QUERY_FAILED the system does not
     *         report it. On failure nothing is written.
     *
     * Threads: any. From: uname().
     *
     * @see Mirovan_System_GetIdentity()
     */
    MIROVAN_API bool Mirovan_System_GetSystemVer(char* lpszSysName, char* lpszSysVersion,
                                                 char* lpszSysCodeName, unsigned long* pnSysType,
                                                 char* lpszSysRelease);

    /**
     * @brief Returns the size of the physical memory, and how much of it is free.
     *
     * Free memory is memory without content; Mirovan_System_GetMemoryRecord() also returns what
     * programs can still use.
     *
     * @param pstMemoryInfo record to fill; values that cannot be read are not changed.
     * @param nUnit unit of the sizes, a ::Mirovan_Unit; any other value stands for bytes. Sizes are
     *              rounded down.
     * @return true if a record was given. Code: ::ERROR_MIROVAN_SYSTEM_PARAMETER a null record.
     *
     * If a program asks more than a few times a second, macOS returns values that are up to one
     * second old. Threads: any. From: sysctl() HW_MEMSIZE, host_statistics() HOST_VM_INFO; on Linux
     * sysinfo() and MemFree of /proc/meminfo.
     *
     * @see Mirovan_System_GetMemoryRecord()
     */
    MIROVAN_API bool Mirovan_System_GetMemoryUsage(tag_Mirovan_Memory_Infomation* pstMemoryInfo,
                                                   int nUnit);

    /**
     * @brief Returns the processor load of all processes together, in percent of one processor.
     *
     * The load is an average over the lifetime of each process, as ps reports it. For the load in
     * an interval, use Mirovan_System_GetProcessorTimes().
     *
     * @param pnCpuUsage receives the load, rounded down; it may exceed 100. Untouched on failure.
     * @return true if the load was read. Codes: ::ERROR_MIROVAN_SYSTEM_PARAMETER a null output;
     *         ::ERROR_MIROVAN_PROCESS_ACCESS the shell cannot be started.
     *
     * Blocks while the command runs. Threads: any. From: ps and awk in a shell.
     *
     * @see Mirovan_System_GetProcessorTimes(), Mirovan_Process_GetProcessCpuUsage()
     */
    MIROVAN_API bool Mirovan_System_GetCpuUsage(int* pnCpuUsage);

    /**
     * @brief Returns the start time of the system in local time.
     *
     * @param pstLibTime record to fill; untouched on failure.
     * @return true if the record was filled. Codes: ::ERROR_MIROVAN_SYSTEM_PARAMETER a null record;
     *         ::ERROR_MIROVAN_SYSTEM_QUERY_FAILED the time cannot be expressed in local time.
     *
     * Threads: any. From: time(), the clock that counts from the start of the system,
     * localtime_r().
     *
     * @see Mirovan_System_GetIdentity() for UTC in nanoseconds, Mirovan_Process_GetUpTime()
     */
    MIROVAN_API bool Mirovan_System_GetUpTime(TARVELO_LIBTIME* pstLibTime);

    /**
     * @brief Returns the number of processors.
     *
     * @param pnProcessCount receives the number of available processors; if that is unknown, the
     *                       number of all processors; 0 if both are unknown.
     * @return true if an output was given. Code: ::ERROR_MIROVAN_SYSTEM_PARAMETER a null output.
     *
     * Threads: any. From: sysctl() HW_AVAILCPU, then HW_NCPU.
     *
     * @see Mirovan_System_GetIdentity() for the processors that this process may use
     */
    MIROVAN_API bool Mirovan_System_GetProcessCount(int* pnProcessCount);

    /**
     * @brief Returns an empty array. Use Mirovan_Process_List() to list processes.
     *
     * The function exists for programs that are linked to it.
     *
     * @param pppstProcessList receives null, an array of 0 rows; there is nothing to free.
     * @param pnListCount receives 0.
     * @return true if both arguments were given. Code: ::ERROR_MIROVAN_SYSTEM_PARAMETER one is
     *         null; nothing is written then.
     *
     * Threads: any. From: nothing.
     *
     * @see Mirovan_Process_List()
     */
    MIROVAN_API bool Mirovan_System_GetProcessList(MIROVAN_PROCESS_INFO*** pppstProcessList,
                                                   int* pnListCount);

    /**
     * @brief Returns the login name of the effective user and the host name.
     *
     * @param lpszUserName buffer for the login name, as large as the longest login name and its
     *                     null character (256 bytes on macOS and Linux); empty if the user has no
     *                     account. May be null.
     * @param lpszHostName buffer of 1,024 bytes for the host name; may be null.
     * @return true; it never fails.
     *
     * Threads: any. From: geteuid(), getpwuid_r(), gethostname().
     *
     * @see Mirovan_System_GetIdentity(), Mirovan_Process_IsAdmin()
     */
    MIROVAN_API bool Mirovan_System_GetSysName(char* lpszUserName, char* lpszHostName);

    /**
     * @brief Halts or restarts the system, turns the display off, locks the screen, or ends the
     * processes of a user.
     *
     * @param nShutdownType a ::Mirovan_ShutdownAction; 0x10007 halts too. The processes that it
     *                      kills are those of the user who is logged in at the terminal, the caller
     *                      included, and never those of root.
     * @return true if the action was performed. Codes: ::ERROR_MIROVAN_SYSTEM_SHUTDOWN_TYPE any
     *         other value, 0x10006 included; ::ERROR_MIROVAN_SYSTEM_QUERY_FAILED the action failed;
     *         if a halt or restart is denied, errno says why.
     *
     * Threads: any. From: reboot() (on Linux after sync()); xset, pkill and
     * gnome-screensaver-command in a shell.
     *
     * @see Mirovan_Process_Stop() to end one process
     */
    MIROVAN_API bool Mirovan_System_Shutdown(unsigned long nShutdownType);

    /**
     * @brief Runs a shell command and waits for it; kills it at a time limit.
     *
     * Only the shell is killed; background processes that it started continue to run and do not
     * delay the return. During the call SIGINT and SIGQUIT are ignored in the process and SIGCHLD
     * is blocked in the calling thread. The mask is restored before the call returns, the two
     * actions when the last of the calls that run at the same time returns.
     *
     * @param lpszCommand command line for /bin/sh; it may begin with a hyphen.
     * @param nTimeout limit in whole seconds by a monotonic clock, kept within 50 ms; with 0 or
     *                 less, a command that has not ended at once is killed.
     * @return true if the command was run, however it ended. Codes:
     *         ::ERROR_MIROVAN_SYSTEM_PARAMETER a null command;
     *         ::ERROR_MIROVAN_SYSTEM_SYSTEMEX_SIGNAL the signals cannot be set up;
     *         ::ERROR_MIROVAN_SYSTEM_SYSTEMEX_FORK the child process cannot be created. A shell
     *         that cannot be executed counts as one that exits with status 127: a success.
     *
     * Mirovan_Process_Execute() also returns the exit status, has limits in milliseconds, and ends
     * background processes too. Threads: any; the two actions are process-wide. From: sigaction(),
     * posix_spawn(), wait4(); kqueue, on Linux pidfd_open().
     *
     * @see Mirovan_Process_Execute()
     */
    MIROVAN_API bool Mirovan_System_SystemEx(const char* lpszCommand, int nTimeout);

/**
 * @brief Returns how much of the time since the start of the system the processors were idle.
 *
 * For the load in an interval, use Mirovan_System_GetProcessorTimes().
 *
 * @param nIdleTime receives whole percent, 0 to 100; untouched on failure.
 * @return true if the counters were read. Codes: ::ERROR_MIROVAN_SYSTEM_PARAMETER a null address
 *         (from C); ::ERROR_MIROVAN_SYSTEM_QUERY_FAILED the processor count cannot be read;
 *         ::ERROR_MIROVAN_SYSTEM_IDLETIME_STATISTICS the load statistics cannot be read.
 *
 * On macOS the counters of a processor wrap to 0 after it has been idle, or busy, for 497 days.
 * Threads: any. From: sysctl() HW_NCPU, host_processor_info() PROCESSOR_CPU_LOAD_INFO; on Linux
 * /proc/stat.
 *
 * @see Mirovan_System_GetProcessorTimes()
 */
#ifdef __cplusplus
    MIROVAN_API bool Mirovan_System_GetSysIdleTime(unsigned long& nIdleTime);
#else
MIROVAN_API bool Mirovan_System_GetSysIdleTime(unsigned long* nIdleTime);
#endif

    /**
     * @brief Returns the size of the main display.
     *
     * @param pnWidth receives the width, 0 without a display: pixels on Linux, points on macOS,
     *                where a point of a Retina display is two pixels wide.
     * @param pnHeight receives the height, 0 without a display, in the same unit.
     * @return true if both outputs were given. Code: ::ERROR_MIROVAN_SYSTEM_PARAMETER one is null;
     *         nothing is written then.
     *
     * Threads: any. From: CoreGraphics; on Linux the X server of DISPLAY, else the kernel's DRM
     * output or framebuffer.
     *
     * @see Mirovan_System_Shutdown() to turn the display off
     */
    MIROVAN_API bool Mirovan_System_GetScreen(int* pnWidth, int* pnHeight);

    /**
     * @brief Returns the value of the environment variable LANG.
     *
     * @param lpszLanguage buffer that is large enough for the value, which is copied unchanged; an
     *                     empty string if the variable is not set.
     * @return true if a buffer was given. Code: ::ERROR_MIROVAN_SYSTEM_PARAMETER a null buffer.
     *
     * Threads: any, as long as no thread changes the environment. From: getenv().
     *
     * @see Mirovan_System_GetSysName()
     */
    MIROVAN_API bool Mirovan_System_GetLanguage(char* lpszLanguage);

    /**
     * @brief Does nothing: there is no WMI on these platforms.
     *
     * The function exists for programs that are linked to it. Mirovan_System_GetIdentity(),
     * Mirovan_HardWare_GetCpuInfomation() and Mirovan_HardWare_ListVolumes() return what such a
     * query asks for.
     *
     * @param lpszQuery ignored.
     * @param lpszKey ignored.
     * @param lpszQueryResult not written.
     * @param nQueryResultSize ignored.
     * @return true.
     *
     * Threads: any. From: nothing.
     *
     * @see Mirovan_System_GetIdentity(), Mirovan_HardWare_GetCpuInfomation(),
     *      Mirovan_HardWare_ListVolumes()
     */
    MIROVAN_API bool Mirovan_System_WMIQuery(const char* lpszQuery, const char* lpszKey,
                                             char* lpszQueryResult, int nQueryResultSize);

    /** @brief Bits of ::MIROVAN_PROCESSOR_TIMES' nKnown. */
    enum Mirovan_ProcessorTimesKnown
    {
        MIROVAN_PROCESSOR_TIMES_KNOWN_USER = 0x1,   /**< nUser */
        MIROVAN_PROCESSOR_TIMES_KNOWN_NICE = 0x2,   /**< nNice */
        MIROVAN_PROCESSOR_TIMES_KNOWN_SYSTEM = 0x4, /**< nSystem */
        MIROVAN_PROCESSOR_TIMES_KNOWN_IDLE = 0x8    /**< nIdle */
    };

    /** @brief The number of all processors together in ::MIROVAN_PROCESSOR_TIMES. */
    enum
    {
        MIROVAN_PROCESSOR_ALL = -1 /**< All processors together. */
    };

    /** @brief How a processor has spent its time, from Mirovan_System_GetProcessorTimes(). */
    typedef struct MIROVAN_PROCESSOR_TIMES
    {
        uint32_t nSize;     /**< Size of the record. */
        uint32_t nKnown;    /**< ::Mirovan_ProcessorTimesKnown bits; an unknown field is 0. */
        int32_t nProcessor; /**< Number from 0, or ::MIROVAN_PROCESSOR_ALL. */
        uint32_t nReserved; /**< 0. */
        uint64_t nUser;     /**< Nanoseconds in programs of normal priority. */
        uint64_t nNice;     /**< Nanoseconds in programs of lowered priority; 0 on macOS. */
        uint64_t nSystem;   /**< Nanoseconds in the kernel, or taken by a hypervisor. */
        uint64_t nIdle;     /**< Nanoseconds idle, or waiting for a disk. */
    } MIROVAN_PROCESSOR_TIMES;

    /**
     * @brief Returns how the processors have spent their time since the start of the system: all
     * together, then each one.
     *
     * The load between two calls is the increase of the user, nice and system times, divided by the
     * increase of all four. On Linux the idle time may occasionally be one tick less than before.
     *
     * @param pfnTimes called first for all processors together and then for each one in the order
     *                 of their numbers, on the calling thread; returns false to end the listing,
     *                 which is a success. The record belongs to the library and is valid during the
     *                 call. The times of an offline processor are unknown.
     * @param pContext passed to pfnTimes; may be null.
     * @return true if the times were listed, or pfnTimes ended the listing. Codes:
     *         ::ERROR_MIROVAN_SYSTEM_PARAMETER a null function (EINVAL);
     *         ::ERROR_MIROVAN_SYSTEM_PROCESSOR_TIMES_FAILED the times cannot be read. The function
     *         is not called if the operation fails.
     *
     * The resolution is the clock tick of the kernel, 10 ms on most machines. On macOS each time of
     * a processor wraps to 0 after 497 days. Threads: any. From: host_processor_info()
     * PROCESSOR_CPU_LOAD_INFO; on Linux /proc/stat.
     *
     * @see Mirovan_System_GetSysIdleTime(), Mirovan_Process_GetRecord() for the times of a process
     */
    MIROVAN_API bool Mirovan_System_GetProcessorTimes(
        bool (*pfnTimes)(const MIROVAN_PROCESSOR_TIMES* pstTimes, void* pContext), void* pContext);

    /** @brief Bits of ::MIROVAN_MEMORY_RECORD's nKnown. */
    enum Mirovan_MemoryKnown
    {
        MIROVAN_MEMORY_KNOWN_TOTAL = 0x1,          /**< nTotal */
        MIROVAN_MEMORY_KNOWN_AVAILABLE = 0x2,      /**< nAvailable */
        MIROVAN_MEMORY_KNOWN_FREE = 0x4,           /**< nFree */
        MIROVAN_MEMORY_KNOWN_WIRED = 0x8,          /**< nWired */
        MIROVAN_MEMORY_KNOWN_COMPRESSED = 0x10,    /**< nCompressed */
        MIROVAN_MEMORY_KNOWN_CACHED = 0x20,        /**< nCached */
        MIROVAN_MEMORY_KNOWN_SWAP_TOTAL = 0x40,    /**< nSwapTotal */
        MIROVAN_MEMORY_KNOWN_SWAP_USED = 0x80,     /**< nSwapUsed */
        MIROVAN_MEMORY_KNOWN_PROCESS_LIMIT = 0x100 /**< nProcessLimit */
    };

    /** @brief The memory in bytes, from Mirovan_System_GetMemoryRecord(). */
    typedef struct MIROVAN_MEMORY_RECORD
    {
        uint32_t nSize;         /**< Set by the caller: sizeof(MIROVAN_MEMORY_RECORD). */
        uint32_t nKnown;        /**< ::Mirovan_MemoryKnown bits; an unknown field is 0. */
        uint64_t nTotal;        /**< Physical memory. */
        uint64_t nAvailable;    /**< What programs can still use without swapping. */
        uint64_t nFree;         /**< Pages without content; less than what is available. */
        uint64_t nWired;        /**< Memory that cannot be paged out. */
        uint64_t nCompressed;   /**< Compressed pages; on Linux those of zswap. */
        uint64_t nCached;       /**< Cached content of files. */
        uint64_t nSwapTotal;    /**< Swap space. */
        uint64_t nSwapUsed;     /**< Swap space in use. */
        uint64_t nProcessLimit; /**< Limit of the control groups; unknown if none. */
    } MIROVAN_MEMORY_RECORD;

    /**
     * @brief Returns the state of the physical memory and the swap space, and the memory limit of
     * this process.
     *
     * A control group limits all of its processes together, and the groups inside it; the lowest of
     * these limits is returned. It may be higher than the physical memory.
     *
     * @param pstMemory record to fill, of at least nSize bytes; the caller sets nSize. All other
     *                  fields are overwritten; untouched on failure.
     * @return true if the record was filled. Codes: ::ERROR_MIROVAN_SYSTEM_PARAMETER a null record
     *         or an nSize that is too small (EINVAL); ::ERROR_MIROVAN_SYSTEM_MEMORY_RECORD_FAILED
     *         the state of the memory cannot be read.
     *
     * If a program asks more than a few times a second, macOS returns values that are up to one
     * second old. Threads: any. From: host_statistics64() HOST_VM_INFO64, sysctl() hw.memsize and
     * vm.swapusage; on Linux /proc/meminfo, and memory.max or memory.limit_in_bytes of the control
     * groups.
     *
     * @see Mirovan_System_GetMemoryUsage()
     */
    MIROVAN_API bool Mirovan_System_GetMemoryRecord(MIROVAN_MEMORY_RECORD* pstMemory);

    /** @brief Bits of ::MIROVAN_IDENTITY's nKnown. */
    enum Mirovan_IdentityKnown
    {
        MIROVAN_IDENTITY_KNOWN_SYSTEM_NAME = 0x1,         /**< tszSystemName */
        MIROVAN_IDENTITY_KNOWN_SYSTEM_VERSION = 0x2,      /**< tszSystemVersion */
        MIROVAN_IDENTITY_KNOWN_KERNEL_NAME = 0x4,         /**< tszKernelName */
        MIROVAN_IDENTITY_KNOWN_KERNEL_VERSION = 0x8,      /**< tszKernelVersion */
        MIROVAN_IDENTITY_KNOWN_ARCHITECTURE = 0x10,       /**< tszArchitecture */
        MIROVAN_IDENTITY_KNOWN_HOST_NAME = 0x20,          /**< tszHostName */
        MIROVAN_IDENTITY_KNOWN_START_TIME = 0x40,         /**< nStartTime */
        MIROVAN_IDENTITY_KNOWN_PAGE_SIZE = 0x80,          /**< nPageSize */
        MIROVAN_IDENTITY_KNOWN_PROCESSORS = 0x100,        /**< nProcessors */
        MIROVAN_IDENTITY_KNOWN_PROCESSORS_ONLINE = 0x200, /**< nProcessorsOnline */
        MIROVAN_IDENTITY_KNOWN_PROCESSORS_USABLE = 0x400  /**< nProcessorsUsable */
    };

    /** @brief Names, versions and counts of the system, from Mirovan_System_GetIdentity(). */
    typedef struct MIROVAN_IDENTITY
    {
        uint32_t nSize;             /**< Set by the caller: sizeof(MIROVAN_IDENTITY). */
        uint32_t nKnown;            /**< ::Mirovan_IdentityKnown bits; an unknown field is 0. */
        char tszSystemName[256];    /**< Name of the system: "macOS", "Debian GNU/Linux". */
        char tszSystemVersion[256]; /**< Its version, such as "13.6.1" or "12". */
        char tszKernelName[256];    /**< Name of the kernel: "Darwin", "Linux". */
        char tszKernelVersion[256]; /**< Release of the kernel. */
        char tszArchitecture[256];  /**< Hardware name of the kernel: "x86_64", "arm64". */
        char tszHostName[256];      /**< Host name. */
        int64_t nStartTime;         /**< Start time of the system, nanoseconds since 1970 UTC. */
        uint64_t nPageSize;         /**< Size of a memory page in bytes. */
        uint32_t nProcessors;       /**< Number of processors. */
        uint32_t nProcessorsOnline; /**< Processors that are online. */
        uint32_t nProcessorsUsable; /**< Processors that this process may use, at least 1. */
        uint32_t nReserved;         /**< 0. */
    } MIROVAN_IDENTITY;

    /**
     * @brief Returns the names and versions of the system, its start time, its page size and its
     * processor counts.
     *
     * The start time is the same in every call until the clock is set; on Linux it is a whole
     * second. The processors that this process may use are those of its affinity (that of its first
     * thread), limited by the lowest processor quota of its control groups, rounded up.
     *
     * @param pstIdentity record to fill, of at least nSize bytes; the caller sets nSize. All other
     *                    fields are overwritten; untouched on failure. Strings that do not fit are
     *                    truncated.
     * @return true if the record was filled. Codes: ::ERROR_MIROVAN_SYSTEM_PARAMETER a null record
     *         or an nSize that is too small (EINVAL); ::ERROR_MIROVAN_SYSTEM_IDENTITY_FAILED the
     *         kernel's names cannot be read.
     *
     * Threads: any. From: uname(), sysctl() KERN_BOOTTIME, HW_NCPU, HW_AVAILCPU and
     * kern.osproductversion; on Linux also os-release (NAME, and VERSION_ID or VERSION), btime of
     * /proc/stat, sched_getaffinity(), and cpu.max or cpu.cfs_quota_us of the control groups.
     *
     * @see Mirovan_System_GetSystemVer(), Mirovan_System_GetProcessCount(),
     *      Mirovan_System_GetUpTime()
     */
    MIROVAN_API bool Mirovan_System_GetIdentity(MIROVAN_IDENTITY* pstIdentity);

    /** @} */

#ifdef __cplusplus
}

/**
 * @brief File operations; each method does what the C function of its name does.
 *
 * Objects of these classes have no data: every object does the same.
 */
class MIROVAN_API CMirovan_File
{
public:
    /** Does nothing. */
    CMirovan_File();
    /** Does nothing. */
    ~CMirovan_File();

    /** See ::Mirovan_File_GetFileAttrA. */
    bool Mirovan_File_GetFileAttrA(const char* lpszFile, MIROVAN_FILE_ATTR* pstFileAttr);
    /** See ::Mirovan_File_GetFileAttrW. */
    bool Mirovan_File_GetFileAttrW(const wchar_t* lpwszFile, MIROVAN_FILE_ATTR* pstFileAttr);
    /** See ::Mirovan_File_SaveBuffToFileA. */
    bool Mirovan_File_SaveBuffToFileA(const char* lpszFile, const char* lpszBuffer, int nBufLen);
    /** See ::Mirovan_File_SaveBuffToFileW. */
    bool Mirovan_File_SaveBuffToFileW(const wchar_t* lpwszFile, const char* lpszBuffer,
                                      int nBufLen);
    /** See ::Mirovan_File_EnumFileA. */
    bool Mirovan_File_EnumFileA(const char* lpszPath, char*** pppszFileList, int* pnFileCount,
                                bool bRecurse, int nListType);
    /** See ::Mirovan_File_EnumFileW. */
    bool Mirovan_File_EnumFileW(const wchar_t* lpwszPath, wchar_t*** pppwszFileList,
                                int* pnFileCount, bool bRecurse, int nListType);

    /**
     * @brief Appends the paths in a folder, or in the whole tree below it, to a list.
     *
     * @param lpszPath path of the folder, or of a symbolic link to it, UTF-8; not a pattern.
     * @param pListFile list to append to; existing elements are kept.
     * @param bRecurse as in ::Mirovan_File_EnumFileA.
     * @param nListType as in ::Mirovan_File_EnumFileA; nothing found is a success here.
     * @param lpszFilter extension without its dot: only files whose extension begins with it, in
     *                   any case, are listed; null for all.
     * @return true if the folder was listed. Codes: ::ERROR_MIROVAN_FILE_ENUM_PARAMETER a null path
     *         or list; ::ERROR_MIROVAN_FILE_ENUM_NOTDIR there is no such folder. On failure the
     *         list is untouched.
     * @throws std::filesystem::filesystem_error if the path or a folder cannot be read for another
     *         reason than that it does not exist or that permission is denied; std::system_error if
     *         the recursive walk finds a name that is not valid UTF-8; std::bad_alloc. Paths
     *         appended before the exception remain in the list, and the error flag is clear.
     *
     * Threads: any, on different lists. From: open(), directory reading, lstat().
     */
    bool Mirovan_File_EnumFileA(const char* lpszPath, std::list<std::string>* pListFile,
                                bool bRecurse, int nListType, const char* lpszFilter);

    /**
     * @brief The same for wide paths.
     *
     * @param lpwszPath path of the folder, UTF-32.
     * @param pListFile list to append to; existing elements are kept.
     * @param bRecurse as in ::Mirovan_File_EnumFileA.
     * @param nListType as in ::Mirovan_File_EnumFileA; nothing found is a success here.
     * @param lpwszFilter as lpszFilter of the narrow form.
     * @return as the narrow form.
     * @throws as the narrow form; also if lpwszPath, or a name that is found, cannot be converted.
     *
     * Threads: any, on different lists. From: open(), directory reading, lstat().
     */
    bool Mirovan_File_EnumFileW(const wchar_t* lpwszPath, std::list<std::wstring>* pListFile,
                                bool bRecurse, int nListType, const wchar_t* lpwszFilter);

    /** See ::Mirovan_File_CreateMutilFolderA. */
    bool Mirovan_File_CreateMutilFolderA(const char* lpszPath);
    /** See ::Mirovan_File_CreateMutilFolderW. */
    bool Mirovan_File_CreateMutilFolderW(const wchar_t* lpwszPath);
    /** See ::Mirovan_File_DeleteMutilFolderA. */
    bool Mirovan_File_DeleteMutilFolderA(const char* lpszPath, bool bDelRoot);
    /** See ::Mirovan_File_DeleteMutilFolderW. */
    bool Mirovan_File_DeleteMutilFolderW(const wchar_t* lpwszPath, bool bDelRoot);
    /** See ::Mirovan_File_CreateSparseFileA. */
    bool Mirovan_File_CreateSparseFileA(const char* lpszFile, long long nFileSize);
    /** See ::Mirovan_File_CreateSparseFileW. */
    bool Mirovan_File_CreateSparseFileW(const wchar_t* lpwszFile, long long nFileSize);
    /** See ::Mirovan_File_CopyFileA. */
    bool Mirovan_File_CopyFileA(const char* lpszSrcFile, const char* lpszDstFile,
                                bool bFailIfExists);
    /** See ::Mirovan_File_CopyFileW. */
    bool Mirovan_File_CopyFileW(const wchar_t* lpwszSrcFile, const wchar_t* lpwszDstFile,
                                bool bFailIfExists);
    /** See ::Mirovan_File_Walk. */
    bool Mirovan_File_Walk(const char* lpszPath, const MIROVAN_WALK* pstWalk,
                           int (*pfnEntry)(const MIROVAN_WALK_ENTRY* pstEntry, void* pContext),
                           void* pContext);
};

/** @brief Hardware queries; each method does what the C function of its name does. */
class MIROVAN_API CMirovan_HardWare
{
public:
    /** Does nothing. */
    CMirovan_HardWare();
    /** Does nothing. */
    ~CMirovan_HardWare();

    /** See ::Mirovan_HardWare_GetDiskInfomation. */
    bool Mirovan_HardWare_GetDiskInfomation(const char* lpszPath,
                                            tag_Mirovan_Disk_Information* pstDiskInfo, int nUnit);
    /** See ::Mirovan_HardWare_GetDiskNumber. */
    bool Mirovan_HardWare_GetDiskNumber(char*** pppszDiskList, int* pnDiskCount);
    /** See ::Mirovan_HardWare_GetCpuInfomation. */
    bool Mirovan_HardWare_GetCpuInfomation(tag_Mirovan_Cpu_Information* pstCpuInfo);
    /** See ::Mirovan_HardWare_GetSerial. */
    bool Mirovan_HardWare_GetSerial(tag_Mirovan_SdkSerial_Information* pstSerialInfo);
    /** See ::Mirovan_HardWare_ListVolumes. */
    bool Mirovan_HardWare_ListVolumes(uint32_t nFlags,
                                      bool (*pfnVolume)(const MIROVAN_VOLUME* pstVolume,
                                                        void* pContext),
                                      void* pContext);
};

/** @brief Process operations; each method does what the C function of its name does. */
class MIROVAN_API CMirovan_Process
{
public:
    /** Does nothing. */
    CMirovan_Process();
    /** Does nothing. */
    ~CMirovan_Process();

    /** See ::Mirovan_Process_ReadCmdReturn. */
    bool Mirovan_Process_ReadCmdReturn(const char* lpszCommand, char* lpszResult, int nLineCount,
                                       int nStartLine, int* pnResultLen);
    /** See ::Mirovan_Process_ReadCmdLines. */
    bool Mirovan_Process_ReadCmdLines(const char* lpszCommand, int nLineCount, int nStartLine,
                                      bool (*pfnPiece)(const char* lpszPiece, int nPieceLen,
                                                       void* pContext),
                                      void* pContext);
    /** See ::Mirovan_Process_GetProcessInfo. */
    bool Mirovan_Process_GetProcessInfo(tag_Mirovan_Process_Infomation* pstProcessInfo,
                                        const char* lpszProcessName, int nPid);
    /** See ::Mirovan_Process_GetProcessCpuUsage. */
    bool Mirovan_Process_GetProcessCpuUsage(int* pnCpuUsage, int nPid);
    /** See ::Mirovan_Process_GetUpTime. */
    bool Mirovan_Process_GetUpTime(TARVELO_LIBTIME* pstLibTime, int nPid);
    /** See ::Mirovan_Process_GetPath. */
    bool Mirovan_Process_GetPath(char* lpszProcessPath, int nPid);
    /** See ::Mirovan_Process_IsAdmin. */
    bool Mirovan_Process_IsAdmin();
    /** See ::Mirovan_Process_GetPriority. */
    bool Mirovan_Process_GetPriority(int* pnPriority, int nPid);
    /** See ::Mirovan_Process_SetPriority. */
    bool Mirovan_Process_SetPriority(int nPriority, int nPid);
    /** See ::Mirovan_Process_Stop. */
    bool Mirovan_Process_Stop(const char* lpszProcessName, int nPid, bool bIgnoreChild);
    /** See ::Mirovan_Process_CreateProcess. */
    bool Mirovan_Process_CreateProcess(unsigned long* pnPid, const char* lpszProcessPath,
                                       const char* lpszArgs, bool bOption);
    /** See ::Mirovan_Process_RunProcess. */
    bool Mirovan_Process_RunProcess(unsigned long* pnPid, const char* lpszProcessPath,
                                    const char* lpszArg0, const char* lpszArg1, bool bOption);
    /** See ::Mirovan_Process_SetProcessForCpu. */
    bool Mirovan_Process_SetProcessForCpu(pthread_t hThread, unsigned long nCpuTag);
    /** See ::Mirovan_Process_GetProcessForCpu. */
    bool Mirovan_Process_GetProcessForCpu(pthread_t hThread, unsigned long* pnCpuTag);
    /** See ::Mirovan_Process_Execute. */
    bool Mirovan_Process_Execute(const MIROVAN_COMMAND* pstCommand,
                                 MIROVAN_COMMAND_RESULT* pstResult);
    /** See ::Mirovan_Process_Wait. */
    bool Mirovan_Process_Wait(int nPid, int64_t nLimitMs, MIROVAN_COMMAND_RESULT* pstResult);
    /** See ::Mirovan_Process_List. */
    bool Mirovan_Process_List(bool (*pfnProcess)(const MIROVAN_PROCESS_RECORD* pstRecord,
                                                 void* pContext),
                              void* pContext);
    /** See ::Mirovan_Process_GetRecord. */
    bool Mirovan_Process_GetRecord(int nPid, MIROVAN_PROCESS_RECORD* pstRecord);

    /**
     * @brief Converts a process state letter, as ps prints it, to a number.
     *
     * @param cState the letter.
     * @param pnState receives 0 for R, 1 for S, 2 for D, 3 for Z, 4 for T, 5 for W, 6 for any
     *                other.
     * @return true if an output was given. Code: ::ERROR_MIROVAN_PROCESS_PARAMETER it is null.
     *
     * Threads: any. From: nothing.
     */
    bool Mirovan_Process_AppState(char cState, unsigned long* pnState);
};

/** @brief System operations; each method does what the C function of its name does. */
class MIROVAN_API CMirovan_System
{
public:
    /** Does nothing. */
    CMirovan_System();
    /** Does nothing. */
    ~CMirovan_System();

    /** See ::Mirovan_System_GetSystemVer. */
    bool Mirovan_System_GetSystemVer(char* lpszSysName, char* lpszSysVersion, char* lpszSysCodeName,
                                     unsigned long* pnSysType, char* lpszSysRelease);
    /** See ::Mirovan_System_GetMemoryUsage. */
    bool Mirovan_System_GetMemoryUsage(tag_Mirovan_Memory_Infomation* pstMemoryInfo, int nUnit);
    /** See ::Mirovan_System_GetCpuUsage. */
    bool Mirovan_System_GetCpuUsage(int* pnCpuUsage);
    /** See ::Mirovan_System_GetUpTime. */
    bool Mirovan_System_GetUpTime(TARVELO_LIBTIME* pstLibTime);
    /** See ::Mirovan_System_GetProcessCount. */
    bool Mirovan_System_GetProcessCount(int* pnProcessCount);
    /** See ::Mirovan_System_GetProcessList. */
    bool Mirovan_System_GetProcessList(MIROVAN_PROCESS_INFO*** pppstProcessList, int* pnListCount);
    /** See ::Mirovan_System_GetSysName. */
    bool Mirovan_System_GetSysName(char* lpszUserName, char* lpszHostName);
    /** See ::Mirovan_System_Shutdown. */
    bool Mirovan_System_Shutdown(unsigned long nShutdownType);
    /** See ::Mirovan_System_SystemEx. */
    bool Mirovan_System_SystemEx(const char* lpszCommand, int nTimeout);
    /** See ::Mirovan_System_GetSysIdleTime. */
    bool Mirovan_System_GetSysIdleTime(unsigned long& nIdleTime);
    /** See ::Mirovan_System_GetScreen. */
    bool Mirovan_System_GetScreen(int* pnWidth, int* pnHeight);
    /** See ::Mirovan_System_GetLanguage. */
    bool Mirovan_System_GetLanguage(char* lpszLanguage);
    /** See ::Mirovan_System_WMIQuery. */
    bool Mirovan_System_WMIQuery(const char* lpszQuery, const char* lpszKey, char* lpszQueryResult,
                                 int nQueryResultSize);
    /** See ::Mirovan_System_GetProcessorTimes. */
    bool Mirovan_System_GetProcessorTimes(bool (*pfnTimes)(const MIROVAN_PROCESSOR_TIMES* pstTimes,
                                                           void* pContext),
                                          void* pContext);
    /** See ::Mirovan_System_GetMemoryRecord. */
    bool Mirovan_System_GetMemoryRecord(MIROVAN_MEMORY_RECORD* pstMemory);
    /** See ::Mirovan_System_GetIdentity. */
    bool Mirovan_System_GetIdentity(MIROVAN_IDENTITY* pstIdentity);
};

/** @name Objects
 *  @{ */
extern MIROVAN_API CMirovan_File m_FileSdk;       /**< Used by the C functions for files. */
extern MIROVAN_API CMirovan_HardWare m_Hardware;  /**< Used by the C functions for hardware. */
extern MIROVAN_API CMirovan_Process m_ProcessSdk; /**< Used by the C functions for processes. */
extern MIROVAN_API CMirovan_System m_SystemSdk;   /**< Used by the C functions for the system. */
/** @} */
#endif

#endif
