/// Facts that more than one command shows.
#pragma once

#include <mirovan.hpp>

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>

namespace program
{

/// How full a volume is for those who are not root, as df has it; nothing when its size is unknown.
std::optional<double> used_ratio(const mirovan::hardware::volume_details& volume);
/// Its facts for programs.
nlohmann::ordered_json volume_json(const mirovan::hardware::volume_details& volume);
/// The login name of a user id, or the number.
std::string user_name(unsigned id);

/// A fact for programs: null when it is unknown, valid UTF-8 when it is text.
nlohmann::ordered_json text_fact(const std::string& text);
template <class Json = nlohmann::ordered_json, class Value>
Json fact(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

} // namespace program
