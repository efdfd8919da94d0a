#include "input/Json.h"

template class nlohmann::basic_json<>;
template class nlohmann::basic_json<nlohmann::ordered_map>;
template class std::vector<nlohmann::json>;
template class std::vector<nlohmann::ordered_json>;

namespace zpweb {

Json parsedJson(std::string_view text) { return Json::parse(text, nullptr, false); }

SortedJson parsedSortedJson(std::string_view text) { return SortedJson::parse(text, nullptr, false); }

}  // namespace zpweb
