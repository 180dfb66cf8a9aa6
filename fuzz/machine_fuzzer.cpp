#include "platform/linux/commands/report.h"
#include "platform/linux/mount_table.h"
#include "source/hardware/report.h"
#include "tests/support/machine_tree.h"

#include <algorithm>
#include <cstdlib>

namespace
{

using namespace mirovan;

void require(bool condition)
{
    if (!condition)
        std::abort();
}

/// A recorded machine in memory.
class TreeSystem : public commands::System
{
public:
    explicit TreeSystem(std::map<std::string, test::TreeEntry> tree) : tree_{std::move(tree)} {}

    std::string read(const std::string& path) const override
    {
        const auto found = tree_.find(path.substr(1));
        return found == tree_.end() ? std::string{} : found->second.content;
    }

    std::vector<std::string> list(const std::string& folder) const override
    {
        std::vector<std::string> names;
        for (const auto& [path, entry] : tree_)
        {
            if (!path.starts_with(folder.substr(1)))
                continue;
            const std::string rest = path.substr(folder.size() - 1);
            const std::string name = rest.substr(0, rest.find('/'));
            if (!name.empty() && (names.empty() || names.back() != name))
                names.push_back(name);
        }
        return names;
    }

    std::string link(const std::string& path) const override
    {
        const auto found = tree_.find(path.substr(1));
        return found == tree_.end() ? std::string{} : found->second.link_target;
    }

    std::optional<commands::VolumeSize> volume_size(const std::string& point) const override
    {
        return commands::recorded_size(read("/volumes"), point);
    }

    commands::VolumeIdentity volume_identity(const std::string& point) const override
    {
        return {.label = read("/label" + point), .uuid = read("/uuid" + point)};
    }

private:
    std::map<std::string, test::TreeEntry> tree_;
};

bool is_plain(const std::string& report)
{
    return std::none_of(report.begin(), report.end(),
                        [](char character)
                        { return character != '\n' && character >= 0 && character < ' '; });
}

/// What the library makes of the report: as many writable volumes as there are.
void require_all_listed(const std::vector<commands::Volume>& volumes, std::string_view report)
{
    WritableVolumes listed;
    while (const auto line = platform::next_line(report))
    {
        // It would arrive in pieces, which count as lines.
        if (line->size() > 1000)
            return;
        listed.take_line(std::string{*line} + '\n');
    }
    const auto writable = std::count_if(volumes.begin(), volumes.end(),
                                        [](const auto& volume) { return volume.writable; });
    require(listed.names().size() == static_cast<std::size_t>(writable));
}

} // namespace

/// Reads any text as the files of a machine.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const TreeSystem system{
        test::parse_tree(std::string{reinterpret_cast<const char*>(data), size})};
    const commands::Machine machine = commands::read_machine(system);
    require(is_plain(commands::hardware_report(machine)));
    require(is_plain(commands::registry_listing(machine, true)));
    const std::vector<commands::Volume> volumes = commands::read_volumes(system);
    const std::string report = commands::storage_report(volumes);
    require(is_plain(report));
    require_all_listed(volumes, report);
    return 0;
}
