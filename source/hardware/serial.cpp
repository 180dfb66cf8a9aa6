#include "source/hardware/report.h"
#include "source/operation.h"

#include "base/string.h"
#include "platform/command_line.h"
#include "source/command/capture.h"

#include <cstring>

namespace mirovan
{
namespace
{

/// What a pipeline prints, appended to a field. When it fails, the field keeps what it had, and
/// only the error state tells.
void capture_field(const char* pipeline, std::span<char> field)
{
    constexpr LineSelection all_lines{.count = 0, .start = 0};
    capture_into(platform::report_command_line(pipeline), all_lines, field);
}

/// Appends the platform's serial number. Of Macs with an Intel processor the property that is read
/// first begins with the last three or four characters of the number alone.
void capture_platform_serial(std::span<char> field)
{
    const std::size_t held = strnlen(field.data(), field.size());
    capture_field("ioreg -l | grep -i 'serial-number' | head -n 1 | "
                  "sed 's/.*<\\(.*\\)>.*/\\1/' | xxd -r -p",
                  field);
    const auto added = field.subspan(held);
    const std::string_view answer{added.data(), strnlen(added.data(), added.size())};
    if (answer.size() != 3 && answer.size() != 4)
        return;
    char line[sizeof(tag_Mirovan_SdkSerial_Information::tszPlatformSerial)] = "";
    capture_field("ioreg -l | grep '\"IOPlatformSerialNumber\"' | head -n 1 | "
                  "sed 's/.*\"\\(.*\\)\".*/\\1/'",
                  line);
    const std::string_view number{line, std::strcspn(line, "\n")};
    if (number.size() > answer.size() && number.ends_with(answer))
    {
        field[held] = '\0';
        append_cut(field, number);
    }
}

bool is_placeholder(std::string_view text)
{
    return starts_in_any_case(text, "none") || starts_in_any_case(text, "null");
}

/// Clears the first field that holds a firmware maker's word for nothing.
void clear_first_placeholder(tag_Mirovan_SdkSerial_Information& serials)
{
    for (const std::span<char> field :
         {std::span<char>{serials.tszSystemSerial}, std::span<char>{serials.tszPlatformSerial},
          std::span<char>{serials.tszVolumeUUID}, std::span<char>{serials.tszHardwareUUID}})
    {
        if (is_placeholder({field.data(), field.size()}))
        {
            std::memset(field.data(), 0, field.size());
            return;
        }
    }
}

} // namespace
} // namespace mirovan

bool CMirovan_HardWare::Mirovan_HardWare_GetSerial(tag_Mirovan_SdkSerial_Information* pstSerialInfo)
{
    using namespace mirovan;
    return operation<ERROR_MIROVAN_HARDWARE_PARAMETER>(
        [&]
        {
            if (pstSerialInfo == nullptr)
                return fail(ERROR_MIROVAN_HARDWARE_PARAMETER, EINVAL);
            capture_field("system_profiler SPHardwareDataType | grep \"Serial Number\" | head -1 | "
                          "awk '{print $4}'",
                          pstSerialInfo->tszSystemSerial);
            capture_field("system_profiler SPHardwareDataType | grep \"Hardware UUID\" | "
                          "awk '{print $3}'",
                          pstSerialInfo->tszHardwareUUID);
            capture_field("system_profiler SPStorageDataType | grep \"Volume UUID\" | "
                          "awk 'NR==1{print $3}'",
                          pstSerialInfo->tszVolumeUUID);
            capture_platform_serial(pstSerialInfo->tszPlatformSerial);
            clear_first_placeholder(*pstSerialInfo);
            return true;
        });
}
