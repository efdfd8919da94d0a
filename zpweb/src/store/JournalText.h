// The journal as JSON, in the journal file and in checkpoints.
#pragma once

#include <nlohmann/json.hpp>

#include "store/Journal.h"

namespace zpweb {

nlohmann::ordered_json jsonOf(const Journal& journal);
Journal journalOf(const nlohmann::ordered_json& json);
// Absent unless it is an object.
std::optional<nlohmann::ordered_json> parsedObject(const std::string& text);

}  // namespace zpweb
