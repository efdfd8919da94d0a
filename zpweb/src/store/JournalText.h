// The journal as JSON, in the journal file and in checkpoints.
#pragma once

#include <nlohmann/json.hpp>

#include "store/Journal.h"

namespace zpweb {

// Text may hold any byte, JSON may not: each byte stands as the character of its number.
std::string asText(const std::string& bytes);
std::string fromText(const std::string& text);

nlohmann::ordered_json jsonOf(const Journal& journal);
Journal journalOf(const nlohmann::ordered_json& json);
// Absent unless it is an object.
std::optional<nlohmann::ordered_json> parsedObject(const std::string& text);

}  // namespace zpweb
