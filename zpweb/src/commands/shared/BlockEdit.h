// Operations of the library on the blocks of a site, one at a time.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "change/Transaction.h"
#include "commands/shared/Operation.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"
#include "text/View.h"

namespace zpweb {

inline constexpr auto OnPort = numberOption("--port", "PORT", "Only its blocks on this port");

// A block by its number among those of its file, or of the part of a long one, which stays while others are
// edited.
struct BlockAt {
    std::string file;
    size_t part;
    size_t number;

    const ConfigurationFile& holder(const Configuration& configuration) const;
    const Block& in(const Configuration& configuration) const;
    const Block* before(const Configuration& configuration) const;  // the one that stands before it; null
    std::string place(const Configuration& configuration) const;    // FILE:LINE
};

// One operation, and what of a block it gets to see.
struct BlockOperation {
    size_t bound;
    std::function<void(View&)> show;
    std::function<int(const std::string& staged, const std::string& domain)> run;
    Meaning meaning;
    // What becomes of its result before it is laid back.
    std::function<std::string(std::string_view made)> adjusted{};
    std::vector<std::string> makes{};
};

using BlockTest = std::function<bool(const Block&)>;
// The site's blocks that pass the test; the last ones of a file first, so that what is added or goes moves
// none that follows.
std::vector<BlockAt> blocksOf(const Site& site, const BlockTest& test);
// Those that run, on the port that was given; NotFound when there is none.
Expected<std::vector<BlockAt>> runningBlocks(const Configuration& configuration, const Site& site,
                                             const Arguments& given);
bool isOnPort(const Block& block, const std::string& port);

Outcome editBlock(Transaction& change, const BlockAt& at, const BlockOperation& operation);
Outcome editBlocks(Transaction& change, const std::vector<BlockAt>& blocks,
                   const BlockOperation& operation);

}  // namespace zpweb
