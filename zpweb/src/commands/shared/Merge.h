// The library's merge of a record into a site's blocks.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "CZPWebsite.h"
#include "change/Transaction.h"
#include "commands/table/Site.h"

namespace zpweb {

// What the merge answers when it is done.
inline constexpr char Merged = 96;

// What an operation is to change: these directives, to what the record says.
struct MergeRequest {
    std::vector<std::string> keywords;
    UpdateVHost record{};
    std::string domain, folder;
};
using MergeCall = std::function<int(CZPWebsite&, UpdateVHost&)>;

// The merge replaces a site's host names, includes and index files by those of the record. What is not to
// be changed is in the record as it is, and its lines are kept.
Outcome mergeInto(Transaction& change, const std::string& file, const MergeRequest& request,
                  const std::string& operation, const MergeCall& call);

// Gives the site another DocumentRoot. The merge replaces its line; it adds none.
Outcome changeRoot(Transaction& change, const Site& site, const std::string& root, const char* operation,
                   const MergeCall& call);

}  // namespace zpweb
