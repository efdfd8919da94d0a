// The journal as JSON, in the journal file and in checkpoints.
#pragma once

#include "input/Json.h"

#include "store/Journal.h"

namespace zpweb {

// Text may hold any byte, JSON may not: each byte stands as the character of its number.
std::string asText(const std::string& bytes);
std::string fromText(const std::string& text);

Json jsonOf(const Journal& journal);
Journal journalOf(const Json& json);
// Absent unless it is an object.
std::optional<Json> parsedObject(const std::string& text);

}  // namespace zpweb
