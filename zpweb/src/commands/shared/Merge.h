// The library's merge of a record into a site's blocks.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "CZPWebsite.h"
#include "Results.h"
#include "change/Transaction.h"
#include "commands/shared/BlockEdit.h"

namespace zpweb {

// What the merge answers when it is done.
inline constexpr char Merged = zp::result::Changed;

// What an operation is to change: these directives, to what the record says.
struct MergeRequest {
    std::vector<std::string> keywords;
    UpdateVHost record{};
};
using MergeCall = std::function<int(CZPWebsite&, UpdateVHost&)>;

// The merge replaces a block's host names, includes and index files by those of the record; it sees those
// that are asked for alone. A setting's Include lines are none of the site's own.
Outcome mergeInto(Transaction& change, const BlockAt& at, const MergeRequest& request,
                  const std::string& operation, const MergeCall& call);

// Whether a redirection or an alias of the path takes in the other one.
bool takesIn(const std::string& path, const std::string& other);

// Gives the site's blocks another DocumentRoot. The merge replaces their line; it adds none.
Outcome changeRoot(Transaction& change, const std::vector<BlockAt>& blocks, const std::string& root,
                   const char* operation, const MergeCall& call);

}  // namespace zpweb
