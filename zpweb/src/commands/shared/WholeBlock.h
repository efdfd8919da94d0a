// Operations of the library on whole blocks of a site: each sees nothing of a block but its tags and its
// name.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "change/Transaction.h"
#include "commands/shared/BlockEdit.h"

namespace zpweb {

struct WholeBlock {
    size_t bound;
    bool commented = false;       // the operation gets the block as a comment
    bool takesBlankLine = false;  // and one of the blank lines around the block goes with it
    std::function<int(const std::string& staged, const std::string& domain)> run;
    Meaning meaning;
    std::function<bool(std::string_view made)> took;  // by what it has made of the tags
    std::function<std::string(std::string_view text)> become;
};
Outcome editWhole(Transaction& change, const std::vector<BlockAt>& blocks, const WholeBlock& operation);

}  // namespace zpweb
