#pragma once

#include "mirovan.h"
#include "tests/support/machine_tree.h"

#include <string>
#include <vector>

namespace test
{

/// A processor record whose unfilled fields can be told.
constexpr tag_Mirovan_Cpu_Information unfilled_processor{"(kept)", "(kept)", -1, 0, 0};

/// What the reports say, as text with odd bytes escaped: the writable volumes and the processor,
/// but not the processor counts, which are the host's.
std::string report_record(const std::vector<std::string>& volumes,
                          const tag_Mirovan_Cpu_Information& processor);

/// The same of what the library says now.
std::string report_record();

/// The same for the serial numbers.
std::string serial_record();

/// Makes the files below a folder.
void plant_tree(const std::map<std::string, TreeEntry>& tree, const std::string& folder);

/// The recorded files of a folder below tests/machines that have this extension, sorted.
std::vector<std::string> recorded_machines(const std::string& folder);

/// Compares with the file that stands beside a recorded one. With MIROVAN_RECORD in the environment
/// it writes that file instead, for review.
void expect_as_recorded(const std::string& recorded_file, const std::string& actual);

} // namespace test
