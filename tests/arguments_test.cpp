// What every operation but those on files refuses before it does anything.
#include "tests/support/support.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <unistd.h>

// What a caller in C passes for the reference.
extern "C" bool idle_time_at_null(void);

namespace
{

TEST(Arguments, AreRefused)
{
    constexpr uint64_t hardware = ERROR_MIROVAN_HARDWARE_PARAMETER;
    constexpr uint64_t process = ERROR_MIROVAN_PROCESS_PARAMETER;
    constexpr uint64_t system = ERROR_MIROVAN_SYSTEM_PARAMETER;
    constexpr uint64_t range = ERROR_MIROVAN_PROCESS_SETPRIORITY_RANGE;
    const auto line = [](const char*, int, void*) { return true; };
    const auto volume = [](const MIROVAN_VOLUME*, void*) { return true; };
    union
    {
        unsigned char bytes[4096];
        char text[4096];
        int number;
        unsigned long id;
        tag_Mirovan_Disk_Information disk;
        MIROVAN_COMMAND_RESULT result;
    } out;
    std::memset(&out, 0x5A, sizeof out);
    out.result.nSize = sizeof out.result;
    const auto untouched = out;
    char* const text = out.text;
    char** rows = nullptr;
    MIROVAN_PROCESS_INFO** table = nullptr;
    const struct
    {
        uint64_t code;
        std::function<bool()> call;
    } cases[] = {
        {hardware, [] { return Mirovan_HardWare_GetCpuInfomation(nullptr); }},
        {hardware, [&] { return Mirovan_HardWare_GetDiskInfomation(nullptr, &out.disk, 1); }},
        {hardware, [] { return Mirovan_HardWare_GetDiskInfomation("/", nullptr, 1); }},
        {hardware, [&] { return Mirovan_HardWare_GetDiskNumber(&rows, nullptr); }},
        {hardware, [] { return Mirovan_HardWare_GetSerial(nullptr); }},
        {hardware, [] { return Mirovan_HardWare_ListVolumes(0, nullptr, nullptr); }},
        {hardware, [&] { return Mirovan_HardWare_ListVolumes(4, volume, nullptr); }},
        {process, [&] { return m_ProcessSdk.Mirovan_Process_AppState('R', nullptr); }},
        {process, [] { return Mirovan_Process_CreateProcess(nullptr, "/bin/true", "", false); }},
        {process, [&] { return Mirovan_Process_CreateProcess(&out.id, nullptr, "", false); }},
        {process, [] { return Mirovan_Process_Execute(nullptr, nullptr); }},
        {process, [] { return Mirovan_Process_GetPath(nullptr, 0); }},
        {process, [] { return Mirovan_Process_GetPriority(nullptr, 0); }},
        {process, [] { return Mirovan_Process_GetProcessCpuUsage(nullptr, 0); }},
        {process, [] { return Mirovan_Process_GetProcessForCpu(pthread_self(), nullptr); }},
        {process, [] { return Mirovan_Process_GetProcessInfo(nullptr, "name", getpid()); }},
        {process, [] { return Mirovan_Process_GetUpTime(nullptr, 0); }},
        {process, [] { return Mirovan_Process_List(nullptr, nullptr); }},
        {process, [&] { return Mirovan_Process_ReadCmdLines(nullptr, 0, 0, line, nullptr); }},
        {process, [] { return Mirovan_Process_ReadCmdLines("echo", 0, 0, nullptr, nullptr); }},
        {process, [&] { return Mirovan_Process_ReadCmdReturn(nullptr, text, 0, 0, &out.number); }},
        {process, [] { return Mirovan_Process_ReadCmdReturn("echo", nullptr, 0, 0, nullptr); }},
        {process, [] { return Mirovan_Process_RunProcess(nullptr, "/bin/true", "", "", false); }},
        {process, [&] { return Mirovan_Process_RunProcess(&out.id, nullptr, "", "", false); }},
        {process,
         [&] { return Mirovan_Process_RunProcess(&out.id, "/bin/true", nullptr, "", false); }},
        {range, [] { return Mirovan_Process_SetPriority(-21, 0); }},
        {range, [] { return Mirovan_Process_SetPriority(21, 0); }},
        {range, [] { return Mirovan_Process_SetPriority(INT_MIN, 0); }},
        {process, [&] { return Mirovan_Process_Wait(0, 0, &out.result); }},
        {process, [&] { return Mirovan_Process_Wait(-1, 0, &out.result); }},
        {process, [] { return Mirovan_Process_Wait(1, 0, nullptr); }},
        {system, [] { return Mirovan_System_GetCpuUsage(nullptr); }},
        {system, [] { return Mirovan_System_GetLanguage(nullptr); }},
        {system, [] { return Mirovan_System_GetMemoryUsage(nullptr, 1); }},
        {system, [] { return Mirovan_System_GetProcessCount(nullptr); }},
        {system, [&] { return Mirovan_System_GetProcessList(nullptr, &out.number); }},
        {system, [&] { return Mirovan_System_GetProcessList(&table, nullptr); }},
        {system, [] { return Mirovan_System_GetProcessorTimes(nullptr, nullptr); }},
        {system, [&] { return Mirovan_System_GetScreen(nullptr, &out.number); }},
        {system, [&] { return Mirovan_System_GetScreen(&out.number, nullptr); }},
        {system, [&] { return Mirovan_System_GetSystemVer(nullptr, text, text, &out.id, text); }},
        {system, [&] { return Mirovan_System_GetSystemVer(text, nullptr, text, &out.id, text); }},
        {system, [&] { return Mirovan_System_GetSystemVer(text, text, nullptr, &out.id, text); }},
        {system, [&] { return Mirovan_System_GetSystemVer(text, text, text, nullptr, text); }},
        {system, [] { return Mirovan_System_GetUpTime(nullptr); }},
        {system, [] { return Mirovan_System_SystemEx(nullptr, 1); }},
        {system, [] { return idle_time_at_null(); }},
    };
    for (const auto& [code, call] : cases)
    {
        EXPECT_FAILS(call(), code, EINVAL) << &code - &cases[0].code;
        EXPECT_EQ(std::memcmp(&out, &untouched, sizeof out), 0) << &code - &cases[0].code;
    }
    EXPECT_TRUE(rows == nullptr && table == nullptr);
}

/// What records with a size promise: too small a size is refused, and a larger one than the library
/// knows has zeros behind the known fields.
template <class Record>
void expect_sized(uint64_t code, bool (*get)(Record*))
{
    struct
    {
        Record record;
        unsigned char later[16];
        unsigned char behind;
    } room;
    EXPECT_FAILS(get(nullptr), code, EINVAL);
    for (const std::size_t size : {std::size_t{0}, sizeof(Record) - 1})
    {
        std::memset(&room, 0x5A, sizeof room);
        room.record.nSize = static_cast<uint32_t>(size);
        EXPECT_FAILS(get(&room.record), code, EINVAL);
        EXPECT_EQ(room.record.nKnown, 0x5A5A5A5AU);
    }
    room.record.nSize = sizeof room.record + sizeof room.later;
    EXPECT_SUCCEEDS(get(&room.record));
    EXPECT_EQ(room.record.nSize, sizeof room.record + sizeof room.later);
    EXPECT_NE(room.record.nKnown, 0x5A5A5A5AU);
    EXPECT_EQ(std::count(room.later, room.later + sizeof room.later, 0), 16);
    EXPECT_EQ(room.behind, 0x5A);
}

TEST(Arguments, RecordsKeepToTheSizeThatTheCallerSets)
{
    const auto own_record = [](MIROVAN_PROCESS_RECORD* to)
    { return Mirovan_Process_GetRecord(0, to); };
    expect_sized<MIROVAN_MEMORY_RECORD>(ERROR_MIROVAN_SYSTEM_PARAMETER,
                                        Mirovan_System_GetMemoryRecord);
    expect_sized<MIROVAN_IDENTITY>(ERROR_MIROVAN_SYSTEM_PARAMETER, Mirovan_System_GetIdentity);
    expect_sized<MIROVAN_PROCESS_RECORD>(ERROR_MIROVAN_PROCESS_PARAMETER, own_record);
}

} // namespace
