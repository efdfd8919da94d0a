// Finds the <Directory> blocks of one directory in one domain's <VirtualHost> blocks. Keywords are whole
// words here: what stands before a line's first blank.
#pragma once

#include <string>

#include "conf/Line.h"

namespace zp::conf {

// How far a domain's part of the file goes: to the end of its block, or to the tag that opens the next one,
// so that a <Directory> between the two counts as the domain's.
enum class DomainEnd { WithBlock, AtNextBlock };

class SiteDirectoryScan {
public:
    SiteDirectoryScan(const std::string& domain, const std::string& directory, DomainEnd end)
        : domain_(domain), directory_(directory), end_(end) {}

    // Takes note of the next line: does it open a block of the directory? An empty directory is no block's.
    bool entersDirectory(const Line& line) {
        const bool outlivesBlock = end_ == DomainEnd::AtNextBlock;
        if (line.hasKeyword(keyword::VirtualHost)) {
            inBlock_ = true;
            inDomain_ = inDomain_ && !outlivesBlock;
        } else if (inBlock_ && line.hasKeyword(keyword::ServerName)) {
            inDomain_ = line.namesServer(domain_) || (inDomain_ && !outlivesBlock);
        } else if (inDomain_ && line.hasKeyword(keyword::Directory)) {
            const auto directory = betweenQuotes(line.argumentOf(keyword::Directory));
            const bool wanted =
                !directory_.empty() && equalIgnoringCase(directory.value_or(""), directory_);
            inDirectory_ = inDirectory_ || wanted;
            return wanted;
        } else if (line.hasKeyword(keyword::VirtualHostEndTag)) {
            inBlock_ = inBlock_ && outlivesBlock && !inDomain_;
            inDomain_ = inDomain_ && outlivesBlock;
            inDirectory_ = false;
        }
        return false;
    }

    // Behind the line that opens a block of the directory, up to the end of the domain's block: the
    // directory's own closing line does not end it.
    bool inDirectory() const { return inDirectory_; }

    // Ask no more of this directory, or of this block of the domain.
    void leaveDirectory() { inDirectory_ = false; }
    void leaveDomain() { inDomain_ = false; }

private:
    const std::string domain_, directory_;
    DomainEnd end_;
    bool inBlock_ = false, inDomain_ = false, inDirectory_ = false;
};

}  // namespace zp::conf
