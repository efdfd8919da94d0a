// Finds what a text says at the server's level, line by line.
#pragma once

#include <string_view>

#include "text/BlockFinder.h"

namespace zpweb {

class ServerFinder {
public:
    ServerFinder(ServerLines& found, Values& values) : found_(found), values_(values) {}

    // A line that begins with a letter, and whether it stands in a condition.
    void take(const LineStart& line, bool inCondition);
    // One outside of the blocks of sites, or in a macro, which may stand for any.
    void takeHandler(const LineStart& line);

private:
    void keepFirst(std::string_view& kept, std::string_view arguments);

    ServerLines& found_;
    Values& values_;
};

}  // namespace zpweb
