#include "mirovan.hpp"

#include <gtest/gtest.h>
#include <tuple>

// Stands in for the library: its functions give records in which every field differs from the others,
// so that mirovan.hpp cannot take one for another unseen.

namespace
{

uint32_t known = ~0U; ///< The bits of what the records say is known.
int truth;            ///< Which of their truth values is true.

/// A record of bytes that no two fields share. As text, a field has seven letters at most.
template <class Record>
Record given()
{
    Record record;
    auto* const bytes = reinterpret_cast<unsigned char*>(&record);
    for (std::size_t at = 0; at < sizeof record; ++at)
        bytes[at] = static_cast<unsigned char>(at % 8 == 7   ? 0
                                               : at % 2 == 0 ? 'A' + at / 8 % 26
                                                             : 'a' + at / 8 / 26);
    if constexpr (requires { record.nKnown; })
        record.nKnown = known;
    if constexpr (requires { record.bLocal; })
        std::tie(record.bReadOnly, record.bRemovable, record.bLocal) =
            std::tuple(truth == 0, truth == 1, truth == 2);
    if constexpr (requires { record.bIsFile; })
        std::tie(record.bIsFile, record.bIsHidden, record.bIsReadable) =
            std::tuple(truth == 0, truth == 1, truth == 2);
    if constexpr (requires { record.lpszPath; })
        std::tie(record.lpszPath, record.lpszLinkTarget) = std::tuple("path", "target");
    return record;
}

template <class Record, class Function>
bool pass(Function function, void* context)
{
    const auto record = given<Record>();
    function(&record, context);
    return true;
}

} // namespace

#define GIVES(function, Record, ...)                                                               \
    bool function(__VA_ARGS__)                                                                     \
    {                                                                                              \
        return *record = given<Record>(), true;                                                    \
    }
#define PASSES(function, Record, ...)                                                              \
    bool function(__VA_ARGS__ (*take)(const Record*, void*), void* context)                        \
    {                                                                                              \
        return pass<Record>(take, context);                                                        \
    }
GIVES(Mirovan_File_GetFileAttrA, MIROVAN_FILE_ATTR, const char*, MIROVAN_FILE_ATTR* record)
GIVES(Mirovan_HardWare_GetDiskInfomation, tag_Mirovan_Disk_Information, const char*,
      tag_Mirovan_Disk_Information* record, int)
GIVES(Mirovan_HardWare_GetCpuInfomation, tag_Mirovan_Cpu_Information,
      tag_Mirovan_Cpu_Information* record)
GIVES(Mirovan_HardWare_GetSerial, tag_Mirovan_SdkSerial_Information,
      tag_Mirovan_SdkSerial_Information* record)
GIVES(Mirovan_Process_GetProcessInfo, tag_Mirovan_Process_Infomation,
      tag_Mirovan_Process_Infomation* record, const char*, int)
GIVES(Mirovan_Process_GetRecord, MIROVAN_PROCESS_RECORD, int, MIROVAN_PROCESS_RECORD* record)
GIVES(Mirovan_Process_Wait, MIROVAN_COMMAND_RESULT, int, int64_t, MIROVAN_COMMAND_RESULT* record)
GIVES(Mirovan_System_GetMemoryUsage, tag_Mirovan_Memory_Infomation,
      tag_Mirovan_Memory_Infomation* record, int)
GIVES(Mirovan_System_GetMemoryRecord, MIROVAN_MEMORY_RECORD, MIROVAN_MEMORY_RECORD* record)
GIVES(Mirovan_System_GetIdentity, MIROVAN_IDENTITY, MIROVAN_IDENTITY* record)
PASSES(Mirovan_File_Walk, MIROVAN_WALK_ENTRY, const char*, const MIROVAN_WALK*, int)
PASSES(Mirovan_HardWare_ListVolumes, MIROVAN_VOLUME, uint32_t, bool)
PASSES(Mirovan_System_GetProcessorTimes, MIROVAN_PROCESSOR_TIMES, bool)

bool Mirovan_System_GetUpTime(TARVELO_LIBTIME* time)
{
    *time = {2001, 2, 3, 4, 5, 6};
    return true;
}

namespace
{

using namespace mirovan;
using Offsets = std::vector<std::size_t>;

/// Where a record holds a value: as many bytes, or half as many, or a text with its NUL.
template <class Field>
std::size_t offset_in(std::string_view record, const Field& field)
{
    if constexpr (requires { field.value(); })
        return offset_in(record, field.value());
    else if constexpr (requires { field.time_since_epoch(); })
        return offset_in(record, field.time_since_epoch().count());
    else if constexpr (requires { field.count(); })
        return offset_in(record, field.count());
    else if constexpr (requires { field.native(); })
        return offset_in(record, field.native());
    else if constexpr (requires { field.c_str(); })
        return record.find({field.c_str(), field.size() + 1});
    else
    {
        const auto value = static_cast<int64_t>(field);
        const std::string_view bytes{reinterpret_cast<const char*>(&value), sizeof value};
        return std::min(record.find(bytes), record.find(bytes.substr(0, sizeof(int32_t))));
    }
}

template <class Record, class... Fields>
Offsets offsets(const Fields&... fields)
{
    const auto record = given<Record>();
    const std::string_view bytes{reinterpret_cast<const char*>(&record), sizeof record};
    return {offset_in(bytes, fields)...};
}

/// The offsets are those that the interface has had from its first release on.
TEST(CxxRecords, FieldsAreThoseOfTheRecordsOfC)
{
    const auto file = file::attributes("/");
    EXPECT_EQ(offsets<MIROVAN_FILE_ATTR>(file.size, file.changed, file.accessed, file.modified),
              (Offsets{0, 8, 16, 24}));
    const auto take = [](const file::entry& entry)
    {
        EXPECT_EQ(std::tie(entry.path.native(), entry.link_target.native()),
                  std::tuple("path", "target"));
        const auto& s = *entry.status;
        EXPECT_EQ(offsets<MIROVAN_WALK_ENTRY>(entry.kind, entry.depth, entry.error, s.permissions,
                                              s.size, s.allocated, s.modified, s.accessed,
                                              s.changed, s.device, s.inode, s.links, s.user_id,
                                              s.group_id),
                  (Offsets{24, 28, 32, 36, 40, 48, 56, 64, 72, 80, 88, 96, 104, 108}));
        return file::next::go_on;
    };
    file::for_each_entry("/", {}, take);
    const auto disk = hardware::volume("/");
    EXPECT_EQ(offsets<tag_Mirovan_Disk_Information>(disk.kind, disk.size, disk.available),
              (Offsets{4, 8, 16}));
    const auto cpu = hardware::processor();
    EXPECT_EQ(offsets<tag_Mirovan_Cpu_Information>(cpu.name, cpu.model, cpu.megahertz, cpu.online,
                                                   cpu.threads),
              (Offsets{0, 128, 192, 196, 200}));
    const auto serial = hardware::serials();
    EXPECT_EQ(offsets<tag_Mirovan_SdkSerial_Information>(serial.platform, serial.system,
                                                         serial.volume_uuid, serial.hardware_uuid),
              (Offsets{0, 64, 128, 192}));
    const auto volume = hardware::volumes().at(0);
    EXPECT_EQ(offsets<MIROVAN_VOLUME>(volume.mount_point, volume.device, volume.type, volume.label,
                                      volume.total, volume.free, volume.available),
              (Offsets{8, 1032, 2056, 2088, 2344, 2352, 2360}));
    const auto info = process::info(1);
    EXPECT_EQ(offsets<tag_Mirovan_Process_Infomation>(info.id, info.threads, info.name, info.user,
                                                      info.virtual_size / 4, info.resident_size / 4,
                                                      info.page_ins),
              (Offsets{0, 4, 8, 1032, 2060, 2064, 2068}));
    const auto process = process::get_record();
    EXPECT_EQ(offsets<MIROVAN_PROCESS_RECORD>(
                  process.id, process.parent, process.user_id, process.nice, process.start_time,
                  process.resident_size, process.virtual_size, process.user_time,
                  process.system_time, process.page_faults, process.threads, process.name),
              (Offsets{8, 12, 16, 20, 24, 32, 40, 48, 56, 64, 72, 77}));
    EXPECT_EQ(process.state, given<MIROVAN_PROCESS_RECORD>().cState);
    const auto result = process::wait(1);
    EXPECT_EQ(offsets<MIROVAN_COMMAND_RESULT>(result.id, result.how, result.exit_status,
                                              result.signal, result.wall_time, result.user_time,
                                              result.system_time, result.peak_memory),
              (Offsets{8, 12, 16, 20, 24, 32, 40, 48}));
    const auto memory = system::memory();
    EXPECT_EQ(
        offsets<tag_Mirovan_Memory_Infomation>(memory.free_percent, memory.total, memory.free),
        (Offsets{0, 8, 16}));
    const auto pages = system::memory_details();
    EXPECT_EQ(offsets<MIROVAN_MEMORY_RECORD>(pages.total, pages.available, pages.free, pages.wired,
                                             pages.compressed, pages.cached, pages.swap_total,
                                             pages.swap_used, pages.process_limit),
              (Offsets{8, 16, 24, 32, 40, 48, 56, 64, 72}));
    const auto system = system::identity();
    EXPECT_EQ(offsets<MIROVAN_IDENTITY>(system.name, system.version, system.kernel,
                                        system.kernel_version, system.architecture, system.host,
                                        system.start_time, system.page_size, system.processors,
                                        system.processors_online, system.processors_usable),
              (Offsets{8, 264, 520, 776, 1032, 1288, 1544, 1552, 1560, 1564, 1568}));
    const auto times = system::processor_times().at(0);
    EXPECT_EQ(offsets<MIROVAN_PROCESSOR_TIMES>(times.processor, times.user, times.nice,
                                               times.system, times.idle),
              (Offsets{8, 16, 24, 32, 40}));
    using namespace std::chrono_literals;
    EXPECT_TRUE(system::start_time() == std::chrono::local_days{2001y / 2 / 3} + 4h + 5min + 6s);
    for (truth = 0; truth < 3; ++truth)
    {
        const auto status = file::attributes("/");
        const auto mounted = hardware::volumes().at(0);
        const std::tuple expected{truth == 0, truth == 1, truth == 2};
        EXPECT_EQ(std::tie(status.is_file, status.is_hidden, status.is_readable), expected);
        EXPECT_EQ(std::tie(mounted.read_only, mounted.removable, mounted.local), expected);
    }
}

/// Which of some fields have a value.
template <class... Fields>
Offsets which(const Fields&... fields)
{
    Offsets found;
    std::size_t number = 0;
    ((fields ? found.push_back(number++) : void(number++)), ...);
    return found;
}

TEST(CxxRecords, FieldsHaveAValueWhenTheirBitIsSet)
{
    for (std::size_t bit = 0; bit < 11; ++bit)
    {
        known = 1U << bit;
        const auto all = [bit](std::size_t first, std::size_t end)
        { return bit >= first && bit < end ? Offsets{bit - first} : Offsets{}; };
        const auto volume = hardware::volumes().at(0);
        EXPECT_EQ(which(volume.total, volume.free, volume.available, volume.read_only,
                        volume.removable, volume.local),
                  all(4, 10));
        const auto memory = system::memory_details();
        EXPECT_EQ(which(memory.total, memory.available, memory.free, memory.wired,
                        memory.compressed, memory.cached, memory.swap_total, memory.swap_used,
                        memory.process_limit),
                  all(0, 9));
        const auto record = process::get_record();
        EXPECT_EQ(which(record.parent, record.user_id, std::optional<int>{}, record.state,
                        record.nice, record.start_time, record.threads, record.resident_size,
                        record.user_time, record.page_faults),
                  bit == 2 ? Offsets{} : all(0, 10));
        EXPECT_EQ(which(record.virtual_size, record.system_time), bit == 7   ? Offsets{0}
                                                                  : bit == 8 ? Offsets{1}
                                                                             : Offsets{});
        EXPECT_EQ(which(process::wait(1).peak_memory), all(3, 4));
    }
}

} // namespace
