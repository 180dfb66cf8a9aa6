#include "platform/linux/commands/report.h"

#include "platform/linux/commands/text.h"

#include <algorithm>
#include <initializer_list>

namespace mirovan::commands
{
namespace
{

std::string joined(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

std::string line(std::string_view name, std::string_view value)
{
    if (value.empty())
        return {};
    return joined({"      ", name, ": ", on_one_line(value), "\n"});
}

std::string line(std::string_view name, std::size_t number)
{
    return number == 0 ? std::string{} : line(name, std::to_string(number));
}

std::uint64_t rounded_quotient(std::uint64_t number, std::uint64_t divisor)
{
    return number / divisor + (number % divisor >= divisor - number % divisor ? 1 : 0);
}

std::string speed(std::uint64_t kilohertz)
{
    constexpr std::uint64_t kilohertz_per_hundredth = 10'000;
    const std::uint64_t hundredths = rounded_quotient(kilohertz, kilohertz_per_hundredth);
    return hundredths == 0 ? std::string{} : joined({decimal(hundredths, 2), " GHz"});
}

/// In units of 1024 megabytes, as memory is sold.
std::string memory_size(std::uint64_t kibibytes)
{
    constexpr std::uint64_t kibibytes_per_unit = 1048576;
    if (kibibytes == 0)
        return {};
    return joined({decimal(rounded_quotient(kibibytes * 10, kibibytes_per_unit), 1), " GB"});
}

/// In units of powers of 1000, as volumes are sold, and in bytes.
std::string volume_size(std::uint64_t bytes)
{
    constexpr std::string_view units[] = {"bytes", "KB", "MB", "GB", "TB", "PB", "EB"};
    constexpr std::uint64_t step = 1000;
    const auto* unit = std::begin(units);
    std::uint64_t divisor = 1;
    for (; bytes / divisor >= step; ++unit)
        divisor *= step;
    if (divisor == 1)
        return joined({std::to_string(bytes), " bytes"});
    const std::uint64_t hundredths = rounded_quotient(bytes, divisor / 100);
    return joined({decimal(hundredths, 2), " ", *unit, " (", grouped(bytes), " bytes)"});
}

/// The heading of the volume. A label that begins with a space would not be a heading.
std::string heading(const Volume& volume)
{
    const std::string_view label = trimmed(volume.label);
    return on_one_line(label.empty() ? volume.mount_point : label);
}

/// The lines of a volume. Readers search 16 lines below a heading for the word that it is writable,
/// past the next heading if need be: a block without it must not be shorter.
std::string volume_block(const Volume& volume)
{
    constexpr std::ptrdiff_t lines_searched = 16;
    std::string block = joined({"    ", heading(volume), ":\n\n"});
    if (volume.size)
    {
        block += line("Free", volume_size(volume.size->free));
        block += line("Capacity", volume_size(volume.size->total));
    }
    block += line("Mount Point", volume.mount_point);
    block += line("File System", volume.file_system);
    block += line("Writable", volume.writable ? "Yes" : "No");
    block += line("BSD Name", volume.device);
    block += line("Volume UUID", volume.uuid);
    const std::ptrdiff_t lines = std::count(block.begin(), block.end(), '\n') - 1;
    const bool needs_room = !volume.writable && lines < lines_searched;
    block.append(needs_room ? static_cast<std::size_t>(lines_searched - lines) : 1, '\n');
    return block;
}

std::string quoted(std::string_view text)
{
    std::string quotation = "\"";
    for (const char character : on_one_line(text))
    {
        if (character == '"' || character == '\\')
            quotation.push_back('\\');
        quotation.push_back(character);
    }
    return quotation + '"';
}

/// A property whose value is between two marks; nothing if it is empty.
std::string property(std::string_view name, std::string_view opening, std::string_view value,
                     std::string_view closing)
{
    if (value.empty())
        return {};
    return joined({"        ", quoted(name), " = ", opening, value, closing, "\n"});
}

std::string text_property(std::string_view name, const std::string& text)
{
    return text.empty() ? std::string{} : property(name, "<", quoted(text), ">");
}

std::string properties(const Machine& machine)
{
    const std::string& serial =
        machine.serial_number.empty() ? machine.machine_id : machine.serial_number;
    return joined({"      {\n", property("IOPlatformUUID", "\"", machine.hardware_uuid, "\""),
                   property("serial-number", "<", hexadecimal(serial), ">"),
                   text_property("model", machine.model_identifier),
                   text_property("manufacturer", machine.manufacturer), "      }\n"});
}

} // namespace

std::string hardware_report(const Machine& machine)
{
    const Processors& processors = machine.processors;
    return joined({"Hardware:\n\n    Hardware Overview:\n\n",
                   line("Model Name", machine.model_name),
                   line("Model Identifier", machine.model_identifier),
                   line("Processor Name", processors.name),
                   line("Processor Speed", speed(processors.kilohertz)),
                   line("Number of Processors", processors.packages),
                   line("Total Number of Cores", processors.cores),
                   line("Memory", memory_size(machine.memory_kibibytes)),
                   line("Serial Number (system)", machine.serial_number),
                   line("Hardware UUID", machine.hardware_uuid), "\n"});
}

std::string storage_report(const std::vector<Volume>& volumes)
{
    std::string report = "Storage:\n\n";
    for (const Volume& volume : volumes)
        report += volume_block(volume);
    return report;
}

std::string registry_listing(const Machine& machine, bool with_properties)
{
    const std::string name =
        machine.model_identifier.empty() ? "Machine" : on_one_line(machine.model_identifier);
    std::string listing = "+-o Root  <class IORegistryEntry>\n";
    if (with_properties)
        listing += "  | {\n  | }\n  |\n";
    listing += joined({"  +-o ", name, "  <class IOPlatformExpertDevice>\n"});
    if (with_properties)
        listing += properties(machine);
    return listing;
}

} // namespace mirovan::commands
