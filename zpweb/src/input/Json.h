// JSON as it is read and written.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace zpweb {

// Its fields stay in the order they were written in.
using Json = nlohmann::ordered_json;
// A field is found by its name however many there are.
using SortedJson = nlohmann::json;

// Discarded where the text is not JSON.
Json parsedJson(std::string_view text);
SortedJson parsedSortedJson(std::string_view text);

}  // namespace zpweb
