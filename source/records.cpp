#include "mirovan.h"

#include <cstddef>
#include <type_traits>

// The layout of every record is a promise to programs that are built already: a change here needs a
// new SOVERSION.

#define MIROVAN_AT(record, field, offset) static_assert(offsetof(record, field) == (offset))

static_assert(sizeof(wchar_t) == 4 && sizeof(int) == 4 && sizeof(unsigned long) == 8 &&
              sizeof(bool) == 1);

static_assert(sizeof(MIROVAN_FILE_ATTR) == 40);
MIROVAN_AT(MIROVAN_FILE_ATTR, nFileSize, 0);
MIROVAN_AT(MIROVAN_FILE_ATTR, nCreateTime, 8);
MIROVAN_AT(MIROVAN_FILE_ATTR, nAccessTime, 16);
MIROVAN_AT(MIROVAN_FILE_ATTR, nModifyTime, 24);
MIROVAN_AT(MIROVAN_FILE_ATTR, bIsFile, 32);
MIROVAN_AT(MIROVAN_FILE_ATTR, bIsHidden, 33);
MIROVAN_AT(MIROVAN_FILE_ATTR, bIsReadable, 34);

static_assert(sizeof(tag_Mirovan_Disk_Information) == 24);
MIROVAN_AT(tag_Mirovan_Disk_Information, nReserved, 0);
MIROVAN_AT(tag_Mirovan_Disk_Information, nFileSystem, 4);
MIROVAN_AT(tag_Mirovan_Disk_Information, nDiskTotal, 8);
MIROVAN_AT(tag_Mirovan_Disk_Information, nDiskFree, 16);

static_assert(sizeof(tag_Mirovan_Cpu_Information) == 204);
MIROVAN_AT(tag_Mirovan_Cpu_Information, tszProcessorName, 0);
MIROVAN_AT(tag_Mirovan_Cpu_Information, tszModelIdentifier, 128);
MIROVAN_AT(tag_Mirovan_Cpu_Information, nProcessorSpeed, 192);
MIROVAN_AT(tag_Mirovan_Cpu_Information, nProcessorOnline, 196);
MIROVAN_AT(tag_Mirovan_Cpu_Information, nHardwareThreads, 200);

static_assert(sizeof(tag_Mirovan_SdkSerial_Information) == 256);
MIROVAN_AT(tag_Mirovan_SdkSerial_Information, tszPlatformSerial, 0);
MIROVAN_AT(tag_Mirovan_SdkSerial_Information, tszSystemSerial, 64);
MIROVAN_AT(tag_Mirovan_SdkSerial_Information, tszVolumeUUID, 128);
MIROVAN_AT(tag_Mirovan_SdkSerial_Information, tszHardwareUUID, 192);

static_assert(sizeof(tag_Mirovan_Process_Infomation) == 2072);
MIROVAN_AT(tag_Mirovan_Process_Infomation, nProcessId, 0);
MIROVAN_AT(tag_Mirovan_Process_Infomation, nThreadCount, 4);
MIROVAN_AT(tag_Mirovan_Process_Infomation, tszProcessName, 8);
MIROVAN_AT(tag_Mirovan_Process_Infomation, tszUserName, 1032);
MIROVAN_AT(tag_Mirovan_Process_Infomation, nState, 2056);
MIROVAN_AT(tag_Mirovan_Process_Infomation, nVirtualSize, 2060);
MIROVAN_AT(tag_Mirovan_Process_Infomation, nResidentSize, 2064);
MIROVAN_AT(tag_Mirovan_Process_Infomation, nPageIns, 2068);

static_assert(sizeof(tag_Mirovan_Memory_Infomation) == 64);
MIROVAN_AT(tag_Mirovan_Memory_Infomation, nFreePercent, 0);
MIROVAN_AT(tag_Mirovan_Memory_Infomation, nTotalMemory, 8);
MIROVAN_AT(tag_Mirovan_Memory_Infomation, nFreeMemory, 16);
MIROVAN_AT(tag_Mirovan_Memory_Infomation, nReserved1, 24);
MIROVAN_AT(tag_Mirovan_Memory_Infomation, nReserved2, 32);
MIROVAN_AT(tag_Mirovan_Memory_Infomation, nReserved3, 40);
MIROVAN_AT(tag_Mirovan_Memory_Infomation, nReserved4, 48);
MIROVAN_AT(tag_Mirovan_Memory_Infomation, nReserved5, 56);

static_assert(sizeof(MIROVAN_PROCESS_INFO) == 1028);
MIROVAN_AT(MIROVAN_PROCESS_INFO, nProcessId, 0);
MIROVAN_AT(MIROVAN_PROCESS_INFO, tszProcessName, 4);

static_assert(sizeof(MIROVAN_WALK) == 24);
MIROVAN_AT(MIROVAN_WALK, nFlags, 4);
MIROVAN_AT(MIROVAN_WALK, nMaxDepth, 8);
MIROVAN_AT(MIROVAN_WALK, lpszPattern, 16);

static_assert(sizeof(MIROVAN_WALK_ENTRY) == 120);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nKnown, 4);
MIROVAN_AT(MIROVAN_WALK_ENTRY, lpszPath, 8);
MIROVAN_AT(MIROVAN_WALK_ENTRY, lpszName, 16);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nKind, 24);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nDepth, 28);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nErrno, 32);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nPermissions, 36);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nFileSize, 40);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nAllocatedSize, 48);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nModifyTime, 56);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nAccessTime, 64);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nStatusTime, 72);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nDevice, 80);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nInode, 88);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nLinkCount, 96);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nUserId, 104);
MIROVAN_AT(MIROVAN_WALK_ENTRY, nGroupId, 108);
MIROVAN_AT(MIROVAN_WALK_ENTRY, lpszLinkTarget, 112);

static_assert(sizeof(MIROVAN_COMMAND) == 104);
MIROVAN_AT(MIROVAN_COMMAND, nSize, 0);
MIROVAN_AT(MIROVAN_COMMAND, nFlags, 4);
MIROVAN_AT(MIROVAN_COMMAND, ppszArguments, 8);
MIROVAN_AT(MIROVAN_COMMAND, lpszShellLine, 16);
MIROVAN_AT(MIROVAN_COMMAND, lpszFolder, 24);
MIROVAN_AT(MIROVAN_COMMAND, ppszEnvironment, 32);
MIROVAN_AT(MIROVAN_COMMAND, pInput, 40);
MIROVAN_AT(MIROVAN_COMMAND, nInputLen, 48);
MIROVAN_AT(MIROVAN_COMMAND, nLimitMs, 56);
MIROVAN_AT(MIROVAN_COMMAND, nGraceMs, 64);
MIROVAN_AT(MIROVAN_COMMAND, pfnOutput, 72);
MIROVAN_AT(MIROVAN_COMMAND, pfnErrors, 80);
MIROVAN_AT(MIROVAN_COMMAND, pContext, 88);
MIROVAN_AT(MIROVAN_COMMAND, nStopDescriptor, 96);
MIROVAN_AT(MIROVAN_COMMAND, nReserved, 100);

static_assert(sizeof(MIROVAN_COMMAND_RESULT) == 56);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nSize, 0);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nKnown, 4);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nProcessId, 8);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nEnd, 12);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nExitStatus, 16);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nSignal, 20);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nWallTime, 24);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nUserTime, 32);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nSystemTime, 40);
MIROVAN_AT(MIROVAN_COMMAND_RESULT, nPeakMemory, 48);

static_assert(sizeof(MIROVAN_PROCESS_RECORD) == 144);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nSize, 0);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nKnown, 4);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nProcessId, 8);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nParentId, 12);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nUserId, 16);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nNice, 20);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nStartTime, 24);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nResidentSize, 32);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nVirtualSize, 40);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nUserTime, 48);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nSystemTime, 56);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nPageFaults, 64);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, nThreadCount, 72);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, cState, 76);
MIROVAN_AT(MIROVAN_PROCESS_RECORD, tszName, 77);

static_assert(sizeof(TARVELO_LIBTIME) == 24);
MIROVAN_AT(TARVELO_LIBTIME, nYear, 0);
MIROVAN_AT(TARVELO_LIBTIME, nMonth, 4);
MIROVAN_AT(TARVELO_LIBTIME, nDay, 8);
MIROVAN_AT(TARVELO_LIBTIME, nHour, 12);
MIROVAN_AT(TARVELO_LIBTIME, nMinute, 16);
MIROVAN_AT(TARVELO_LIBTIME, nSecond, 20);

static_assert(sizeof(MIROVAN_VOLUME) == 2376);
MIROVAN_AT(MIROVAN_VOLUME, nKnown, 4);
MIROVAN_AT(MIROVAN_VOLUME, tszMountPoint, 8);
MIROVAN_AT(MIROVAN_VOLUME, tszDevice, 1032);
MIROVAN_AT(MIROVAN_VOLUME, tszType, 2056);
MIROVAN_AT(MIROVAN_VOLUME, tszLabel, 2088);
MIROVAN_AT(MIROVAN_VOLUME, nTotal, 2344);
MIROVAN_AT(MIROVAN_VOLUME, nFree, 2352);
MIROVAN_AT(MIROVAN_VOLUME, nAvailable, 2360);
MIROVAN_AT(MIROVAN_VOLUME, bReadOnly, 2368);
MIROVAN_AT(MIROVAN_VOLUME, bRemovable, 2369);
MIROVAN_AT(MIROVAN_VOLUME, bLocal, 2370);

static_assert(sizeof(MIROVAN_PROCESSOR_TIMES) == 48);
MIROVAN_AT(MIROVAN_PROCESSOR_TIMES, nKnown, 4);
MIROVAN_AT(MIROVAN_PROCESSOR_TIMES, nProcessor, 8);
MIROVAN_AT(MIROVAN_PROCESSOR_TIMES, nUser, 16);
MIROVAN_AT(MIROVAN_PROCESSOR_TIMES, nNice, 24);
MIROVAN_AT(MIROVAN_PROCESSOR_TIMES, nSystem, 32);
MIROVAN_AT(MIROVAN_PROCESSOR_TIMES, nIdle, 40);

static_assert(sizeof(MIROVAN_MEMORY_RECORD) == 80);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nKnown, 4);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nTotal, 8);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nAvailable, 16);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nFree, 24);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nWired, 32);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nCompressed, 40);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nCached, 48);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nSwapTotal, 56);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nSwapUsed, 64);
MIROVAN_AT(MIROVAN_MEMORY_RECORD, nProcessLimit, 72);

static_assert(sizeof(MIROVAN_IDENTITY) == 1576);
MIROVAN_AT(MIROVAN_IDENTITY, nKnown, 4);
MIROVAN_AT(MIROVAN_IDENTITY, tszSystemName, 8);
MIROVAN_AT(MIROVAN_IDENTITY, tszSystemVersion, 264);
MIROVAN_AT(MIROVAN_IDENTITY, tszKernelName, 520);
MIROVAN_AT(MIROVAN_IDENTITY, tszKernelVersion, 776);
MIROVAN_AT(MIROVAN_IDENTITY, tszArchitecture, 1032);
MIROVAN_AT(MIROVAN_IDENTITY, tszHostName, 1288);
MIROVAN_AT(MIROVAN_IDENTITY, nStartTime, 1544);
MIROVAN_AT(MIROVAN_IDENTITY, nPageSize, 1552);
MIROVAN_AT(MIROVAN_IDENTITY, nProcessors, 1560);
MIROVAN_AT(MIROVAN_IDENTITY, nProcessorsOnline, 1564);
MIROVAN_AT(MIROVAN_IDENTITY, nProcessorsUsable, 1568);

#undef MIROVAN_AT

static_assert(std::is_empty_v<CMirovan_File> && std::is_empty_v<CMirovan_HardWare> &&
              std::is_empty_v<CMirovan_Process> && std::is_empty_v<CMirovan_System>);
