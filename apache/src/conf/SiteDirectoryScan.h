// Finds the <Directory> blocks of one folder in one domain's <VirtualHost> blocks. Keywords are whole words
// here: what stands before a line's first blank.
#pragma once

#include <string>

#include "conf/Line.h"

namespace zp::conf {

inline constexpr size_t SiteDirectoryBound = 2046;

// How far a domain's part of the file goes: to the end of its block, or to the tag that opens the next one,
// so that a <Directory> between the two counts as the domain's.
enum class DomainEnd { WithBlock, AtNextBlock };

class SiteDirectoryScan {
public:
    SiteDirectoryScan(const std::string& domain, const std::string& folder, DomainEnd end)
        : domain_(domain), folder_(folder), end_(end) {}

    // Takes note of the next line: does it open a block of the folder? An empty folder is no block's.
    bool entersFolder(const Line& line) {
        const Words words = splitAtBlank(line.text());
        const bool outlivesBlock = end_ == DomainEnd::AtNextBlock;
        if (equalIgnoringCase(words.keyword, keyword::VirtualHost)) {
            inBlock_ = true;
            inDomain_ = inDomain_ && !outlivesBlock;
        } else if (inBlock_ && equalIgnoringCase(words.keyword, keyword::ServerName)) {
            const bool named = equalIgnoringCase(skipSpace(words.rest), domain_) && !domain_.empty();
            inDomain_ = named || (inDomain_ && !outlivesBlock);
        } else if (inDomain_ && equalIgnoringCase(words.keyword, keyword::Directory)) {
            const bool wanted = equalIgnoringCase(betweenQuotes(words.rest).value_or(""), folder_);
            inFolder_ = inFolder_ || (wanted && !folder_.empty());
            return wanted && !folder_.empty();
        } else if (equalIgnoringCase(words.keyword, keyword::VirtualHostEndTag)) {
            inBlock_ = inBlock_ && outlivesBlock && !inDomain_;
            inDomain_ = inDomain_ && outlivesBlock;
            inFolder_ = false;
        }
        return false;
    }

    // Behind the line that opens a block of the folder, up to the end of the domain's block: the folder's
    // own closing line does not end it.
    bool inFolder() const { return inFolder_; }

    // Ask no more of this folder, or of this block of the domain.
    void leaveFolder() { inFolder_ = false; }
    void leaveDomain() { inDomain_ = false; }

private:
    const std::string domain_, folder_;
    DomainEnd end_;
    bool inBlock_ = false, inDomain_ = false, inFolder_ = false;
};

// Is the line's keyword exactly this word?
inline bool hasKeyword(const Line& line, std::string_view keyword) {
    return equalIgnoringCase(splitAtBlank(line.text()).keyword, keyword);
}

}  // namespace zp::conf
