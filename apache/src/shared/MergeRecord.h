// The merge of a record into a site's blocks, which suspension, resumption and update share.
#pragma once

#include <string>

#include "CZPWebsite.h"
#include "conf/HeldLines.h"
#include "conf/Rewrite.h"

namespace zp {

// Where the three differ.
struct MergeRules {
    enum class ProxyPass { Untouched, BecomesRedirect };
    enum class IndexInDirectory { Replaced, Untouched };

    std::string documentRoot;  // as written in place of the block's own; empty: that one stays
    ProxyPass proxyPass;
    IndexInDirectory indexInDirectory;  // DirectoryIndex lines in <Directory> sections
    std::string accessModeDirectory;  // what AccessMode is for; empty: the document root that the block had
};

// Rewrites the configuration with the record merged into each block of its domain; empty lines outside of
// them are left out. Entries are erased from the record as they are written. 96 done, also when the site is
// absent; 21; 22.
int mergeRecord(const std::string& configuration, const std::string& scratch, UpdateVHost& record,
                const MergeRules& rules);

// Writes one block, from behind its opening line to its closing line, with the record merged into it. The
// document root that the block had between quotes; empty without one.
std::string mergeBlock(conf::Rewrite& rewrite, const conf::HeldLines& block, UpdateVHost& record,
                       const MergeRules& rules);

}  // namespace zp
