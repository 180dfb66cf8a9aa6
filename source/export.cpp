// Written by tools/generate from include/mirovan.h.

#include "mirovan.h"

bool Mirovan_File_GetFileAttrA(const char* lpszFile, MIROVAN_FILE_ATTR* pstFileAttr)
{
    return m_FileSdk.Mirovan_File_GetFileAttrA(lpszFile, pstFileAttr);
}

bool Mirovan_File_GetFileAttrW(const wchar_t* lpwszFile, MIROVAN_FILE_ATTR* pstFileAttr)
{
    return m_FileSdk.Mirovan_File_GetFileAttrW(lpwszFile, pstFileAttr);
}

bool Mirovan_File_SaveBuffToFileA(const char* lpszFile, const char* lpszBuffer, int nBufLen)
{
    return m_FileSdk.Mirovan_File_SaveBuffToFileA(lpszFile, lpszBuffer, nBufLen);
}

bool Mirovan_File_SaveBuffToFileW(const wchar_t* lpwszFile, const char* lpszBuffer, int nBufLen)
{
    return m_FileSdk.Mirovan_File_SaveBuffToFileW(lpwszFile, lpszBuffer, nBufLen);
}

bool Mirovan_File_EnumFileA(const char* lpszPath, char*** pppszFileList, int* pnFileCount,
                            bool bRecurse, int nListType)
{
    return m_FileSdk.Mirovan_File_EnumFileA(lpszPath, pppszFileList, pnFileCount, bRecurse,
                                            nListType);
}

bool Mirovan_File_EnumFileW(const wchar_t* lpwszPath, wchar_t*** pppwszFileList, int* pnFileCount,
                            bool bRecurse, int nListType)
{
    return m_FileSdk.Mirovan_File_EnumFileW(lpwszPath, pppwszFileList, pnFileCount, bRecurse,
                                            nListType);
}

bool Mirovan_File_CreateMutilFolderA(const char* lpszPath)
{
    return m_FileSdk.Mirovan_File_CreateMutilFolderA(lpszPath);
}

bool Mirovan_File_CreateMutilFolderW(const wchar_t* lpwszPath)
{
    return m_FileSdk.Mirovan_File_CreateMutilFolderW(lpwszPath);
}

bool Mirovan_File_DeleteMutilFolderA(const char* lpszPath, bool bDelRoot)
{
    return m_FileSdk.Mirovan_File_DeleteMutilFolderA(lpszPath, bDelRoot);
}

bool Mirovan_File_DeleteMutilFolderW(const wchar_t* lpwszPath, bool bDelRoot)
{
    return m_FileSdk.Mirovan_File_DeleteMutilFolderW(lpwszPath, bDelRoot);
}

bool Mirovan_File_CreateSparseFileA(const char* lpszFile, long long nFileSize)
{
    return m_FileSdk.Mirovan_File_CreateSparseFileA(lpszFile, nFileSize);
}

bool Mirovan_File_CreateSparseFileW(const wchar_t* lpwszFile, long long nFileSize)
{
    return m_FileSdk.Mirovan_File_CreateSparseFileW(lpwszFile, nFileSize);
}

bool Mirovan_File_CopyFileA(const char* lpszSrcFile, const char* lpszDstFile, bool bFailIfExists)
{
    return m_FileSdk.Mirovan_File_CopyFileA(lpszSrcFile, lpszDstFile, bFailIfExists);
}

bool Mirovan_File_CopyFileW(const wchar_t* lpwszSrcFile, const wchar_t* lpwszDstFile,
                            bool bFailIfExists)
{
    return m_FileSdk.Mirovan_File_CopyFileW(lpwszSrcFile, lpwszDstFile, bFailIfExists);
}

bool Mirovan_File_Walk(const char* lpszPath, const MIROVAN_WALK* pstWalk,
                       int (*pfnEntry)(const MIROVAN_WALK_ENTRY* pstEntry, void* pContext),
                       void* pContext)
{
    return m_FileSdk.Mirovan_File_Walk(lpszPath, pstWalk, pfnEntry, pContext);
}

bool Mirovan_HardWare_GetDiskInfomation(const char* lpszPath,
                                        tag_Mirovan_Disk_Information* pstDiskInfo, int nUnit)
{
    return m_Hardware.Mirovan_HardWare_GetDiskInfomation(lpszPath, pstDiskInfo, nUnit);
}

bool Mirovan_HardWare_GetDiskNumber(char*** pppszDiskList, int* pnDiskCount)
{
    return m_Hardware.Mirovan_HardWare_GetDiskNumber(pppszDiskList, pnDiskCount);
}

bool Mirovan_HardWare_GetCpuInfomation(tag_Mirovan_Cpu_Information* pstCpuInfo)
{
    return m_Hardware.Mirovan_HardWare_GetCpuInfomation(pstCpuInfo);
}

bool Mirovan_HardWare_GetSerial(tag_Mirovan_SdkSerial_Information* pstSerialInfo)
{
    return m_Hardware.Mirovan_HardWare_GetSerial(pstSerialInfo);
}

bool Mirovan_HardWare_ListVolumes(uint32_t nFlags,
                                  bool (*pfnVolume)(const MIROVAN_VOLUME* pstVolume,
                                                    void* pContext),
                                  void* pContext)
{
    return m_Hardware.Mirovan_HardWare_ListVolumes(nFlags, pfnVolume, pContext);
}

bool Mirovan_Process_ReadCmdReturn(const char* lpszCommand, char* lpszResult, int nLineCount,
                                   int nStartLine, int* pnResultLen)
{
    return m_ProcessSdk.Mirovan_Process_ReadCmdReturn(lpszCommand, lpszResult, nLineCount,
                                                      nStartLine, pnResultLen);
}

bool Mirovan_Process_ReadCmdLines(const char* lpszCommand, int nLineCount, int nStartLine,
                                  bool (*pfnPiece)(const char* lpszPiece, int nPieceLen,
                                                   void* pContext),
                                  void* pContext)
{
    return m_ProcessSdk.Mirovan_Process_ReadCmdLines(lpszCommand, nLineCount, nStartLine, pfnPiece,
                                                     pContext);
}

bool Mirovan_Process_GetProcessInfo(tag_Mirovan_Process_Infomation* pstProcessInfo,
                                    const char* lpszProcessName, int nPid)
{
    return m_ProcessSdk.Mirovan_Process_GetProcessInfo(pstProcessInfo, lpszProcessName, nPid);
}

bool Mirovan_Process_GetProcessCpuUsage(int* pnCpuUsage, int nPid)
{
    return m_ProcessSdk.Mirovan_Process_GetProcessCpuUsage(pnCpuUsage, nPid);
}

bool Mirovan_Process_GetUpTime(TARVELO_LIBTIME* pstLibTime, int nPid)
{
    return m_ProcessSdk.Mirovan_Process_GetUpTime(pstLibTime, nPid);
}

bool Mirovan_Process_GetPath(char* lpszProcessPath, int nPid)
{
    return m_ProcessSdk.Mirovan_Process_GetPath(lpszProcessPath, nPid);
}

bool Mirovan_Process_IsAdmin()
{
    return m_ProcessSdk.Mirovan_Process_IsAdmin();
}

bool Mirovan_Process_GetPriority(int* pnPriority, int nPid)
{
    return m_ProcessSdk.Mirovan_Process_GetPriority(pnPriority, nPid);
}

bool Mirovan_Process_SetPriority(int nPriority, int nPid)
{
    return m_ProcessSdk.Mirovan_Process_SetPriority(nPriority, nPid);
}

bool Mirovan_Process_Stop(const char* lpszProcessName, int nPid, bool bIgnoreChild)
{
    return m_ProcessSdk.Mirovan_Process_Stop(lpszProcessName, nPid, bIgnoreChild);
}

bool Mirovan_Process_CreateProcess(unsigned long* pnPid, const char* lpszProcessPath,
                                   const char* lpszArgs, bool bOption)
{
    return m_ProcessSdk.Mirovan_Process_CreateProcess(pnPid, lpszProcessPath, lpszArgs, bOption);
}

bool Mirovan_Process_RunProcess(unsigned long* pnPid, const char* lpszProcessPath,
                                const char* lpszArg0, const char* lpszArg1, bool bOption)
{
    return m_ProcessSdk.Mirovan_Process_RunProcess(pnPid, lpszProcessPath, lpszArg0, lpszArg1,
                                                   bOption);
}

bool Mirovan_Process_SetProcessForCpu(pthread_t hThread, unsigned long nCpuTag)
{
    return m_ProcessSdk.Mirovan_Process_SetProcessForCpu(hThread, nCpuTag);
}

bool Mirovan_Process_GetProcessForCpu(pthread_t hThread, unsigned long* pnCpuTag)
{
    return m_ProcessSdk.Mirovan_Process_GetProcessForCpu(hThread, pnCpuTag);
}

bool Mirovan_Process_Execute(const MIROVAN_COMMAND* pstCommand, MIROVAN_COMMAND_RESULT* pstResult)
{
    return m_ProcessSdk.Mirovan_Process_Execute(pstCommand, pstResult);
}

bool Mirovan_Process_Wait(int nPid, int64_t nLimitMs, MIROVAN_COMMAND_RESULT* pstResult)
{
    return m_ProcessSdk.Mirovan_Process_Wait(nPid, nLimitMs, pstResult);
}

bool Mirovan_Process_List(bool (*pfnProcess)(const MIROVAN_PROCESS_RECORD* pstRecord,
                                             void* pContext),
                          void* pContext)
{
    return m_ProcessSdk.Mirovan_Process_List(pfnProcess, pContext);
}

bool Mirovan_Process_GetRecord(int nPid, MIROVAN_PROCESS_RECORD* pstRecord)
{
    return m_ProcessSdk.Mirovan_Process_GetRecord(nPid, pstRecord);
}

bool Mirovan_System_GetSystemVer(char* lpszSysName, char* lpszSysVersion, char* lpszSysCodeName,
                                 unsigned long* pnSysType, char* lpszSysRelease)
{
    return m_SystemSdk.Mirovan_System_GetSystemVer(lpszSysName, lpszSysVersion, lpszSysCodeName,
                                                   pnSysType, lpszSysRelease);
}

bool Mirovan_System_GetMemoryUsage(tag_Mirovan_Memory_Infomation* pstMemoryInfo, int nUnit)
{
    return m_SystemSdk.Mirovan_System_GetMemoryUsage(pstMemoryInfo, nUnit);
}

bool Mirovan_System_GetCpuUsage(int* pnCpuUsage)
{
    return m_SystemSdk.Mirovan_System_GetCpuUsage(pnCpuUsage);
}

bool Mirovan_System_GetUpTime(TARVELO_LIBTIME* pstLibTime)
{
    return m_SystemSdk.Mirovan_System_GetUpTime(pstLibTime);
}

bool Mirovan_System_GetProcessCount(int* pnProcessCount)
{
    return m_SystemSdk.Mirovan_System_GetProcessCount(pnProcessCount);
}

bool Mirovan_System_GetProcessList(MIROVAN_PROCESS_INFO*** pppstProcessList, int* pnListCount)
{
    return m_SystemSdk.Mirovan_System_GetProcessList(pppstProcessList, pnListCount);
}

bool Mirovan_System_GetSysName(char* lpszUserName, char* lpszHostName)
{
    return m_SystemSdk.Mirovan_System_GetSysName(lpszUserName, lpszHostName);
}

bool Mirovan_System_Shutdown(unsigned long nShutdownType)
{
    return m_SystemSdk.Mirovan_System_Shutdown(nShutdownType);
}

bool Mirovan_System_SystemEx(const char* lpszCommand, int nTimeout)
{
    return m_SystemSdk.Mirovan_System_SystemEx(lpszCommand, nTimeout);
}

bool Mirovan_System_GetSysIdleTime(unsigned long& nIdleTime)
{
    return m_SystemSdk.Mirovan_System_GetSysIdleTime(nIdleTime);
}

bool Mirovan_System_GetScreen(int* pnWidth, int* pnHeight)
{
    return m_SystemSdk.Mirovan_System_GetScreen(pnWidth, pnHeight);
}

bool Mirovan_System_GetLanguage(char* lpszLanguage)
{
    return m_SystemSdk.Mirovan_System_GetLanguage(lpszLanguage);
}

bool Mirovan_System_WMIQuery(const char* lpszQuery, const char* lpszKey, char* lpszQueryResult,
                             int nQueryResultSize)
{
    return m_SystemSdk.Mirovan_System_WMIQuery(lpszQuery, lpszKey, lpszQueryResult,
                                               nQueryResultSize);
}

bool Mirovan_System_GetProcessorTimes(bool (*pfnTimes)(const MIROVAN_PROCESSOR_TIMES* pstTimes,
                                                       void* pContext),
                                      void* pContext)
{
    return m_SystemSdk.Mirovan_System_GetProcessorTimes(pfnTimes, pContext);
}

bool Mirovan_System_GetMemoryRecord(MIROVAN_MEMORY_RECORD* pstMemory)
{
    return m_SystemSdk.Mirovan_System_GetMemoryRecord(pstMemory);
}

bool Mirovan_System_GetIdentity(MIROVAN_IDENTITY* pstIdentity)
{
    return m_SystemSdk.Mirovan_System_GetIdentity(pstIdentity);
}
