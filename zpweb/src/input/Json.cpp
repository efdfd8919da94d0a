#include "input/Json.h"

namespace zpweb {

Json parsedJson(std::string_view text) { return Json::parse(text, nullptr, false); }

SortedJson parsedSortedJson(std::string_view text) { return SortedJson::parse(text, nullptr, false); }

}  // namespace zpweb
