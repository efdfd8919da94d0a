// Values of directives in a plain form. The views are of the text, or of texts that are kept beside it.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "text/Sites.h"

namespace zpweb {

// The values of one text.
class Values {
public:
    Values(Surroundings& around, std::deque<std::string>& texts) : around_(around), texts_(texts) {}

    // The first word, without quotes, with what is defined put in.
    std::string_view first(std::string_view arguments);
    // The same for all of the text.
    std::string_view plain(std::string_view text);
    void define(std::string_view arguments);
    // The ServerName in the file that an Include line names; empty when none is known, and is sought then.
    std::string_view nameIn(std::string_view pattern);

    // Is the condition within a block met? Absent: nobody knows.
    std::optional<bool> isMet(std::string_view condition) const;

    std::string_view keep(std::string text) { return texts_.emplace_back(std::move(text)); }

private:
    Surroundings& around_;
    std::deque<std::string>& texts_;
};

}  // namespace zpweb
