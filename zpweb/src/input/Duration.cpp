#include "input/Duration.h"

#include <charconv>
#include <map>

#include "input/Quoted.h"

namespace zpweb {

namespace {

// The number at the beginning; what stands behind it goes to `unit`.
long numberBeforeUnit(const std::string& value, std::string& unit) {
    long number = -1;
    const char* end = value.data() + value.size();
    const auto [at, error] = std::from_chars(value.data(), end, number);
    unit.assign(at, end);
    constexpr long Most = 1000L * 1000 * 1000;
    return error == std::errc() && number <= Most ? number : -1;
}

}  // namespace

Expected<long> secondsOf(const std::string& value) {
    constexpr long Day = 24L * 60 * 60;
    static const std::map<std::string, long> units = {
        {"", 1}, {"s", 1}, {"m", 60}, {"h", 60L * 60}, {"d", Day}, {"w", 7 * Day}, {"y", 365 * Day}};
    std::string unit;
    const long number = numberBeforeUnit(value, unit);
    const auto known = units.find(unit);
    constexpr long Most = 2147483647;
    if (number < 0 || known == units.end() || number > Most / known->second) {
        return wrongValue("duration", value, "it is no number with a unit",
                          "expected a number of seconds, or one with s, m, h, d, w or y, such as 14d");
    }
    return number * known->second;
}

Expected<std::string> typedSize(const std::string& value) {
    std::string unit;
    if (numberBeforeUnit(value, unit) > 0 && (unit.empty() || unit == "k" || unit == "M" || unit == "G")) {
        return value;
    }
    return wrongValue("size", value, "it is no number with a unit",
                      "expected a number of bytes, or one with k, M or G, such as 100M");
}

}  // namespace zpweb
