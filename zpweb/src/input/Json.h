// JSON as it is read and written. What the library makes of its templates is compiled once, in Json.cpp: it
// would be more than half of each source that uses it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

extern template class nlohmann::basic_json<>;
extern template class nlohmann::basic_json<nlohmann::ordered_map>;
extern template class std::vector<nlohmann::json>;
extern template class std::vector<nlohmann::ordered_json>;

namespace zpweb {

// Its fields stay in the order they were written in.
using Json = nlohmann::ordered_json;
// A field is found by its name however many there are.
using SortedJson = nlohmann::json;

// Discarded where the text is not JSON.
Json parsedJson(std::string_view text);
SortedJson parsedSortedJson(std::string_view text);

}  // namespace zpweb
