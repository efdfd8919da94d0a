#include "text/Merge.h"

#include <algorithm>
#include <vector>

#include "text/Align.h"
#include "text/Lines.h"
#include "text/Matching.h"

namespace zpweb {

namespace {

// Which line of the other text each line of the base is; NoPartner for one that is not there any more.
std::vector<size_t> partners(const Lines& base, const Lines& other) {
    std::vector<size_t> partner(base.size(), NoPartner);
    for (const Pair& pair : align(base.all, other.all)) {
        partner[pair.before] = pair.after;
    }
    return partner;
}

bool equal(const Lines& a, Range of, const Lines& b, Range with) {
    return std::equal(a.all.begin() + static_cast<std::ptrdiff_t>(of.first),
                      a.all.begin() + static_cast<std::ptrdiff_t>(of.end),
                      b.all.begin() + static_cast<std::ptrdiff_t>(with.first),
                      b.all.begin() + static_cast<std::ptrdiff_t>(with.end));
}

void append(std::string& text, const Lines& lines, Range range) {
    for (size_t i = range.first; i < range.end; ++i) {
        text += lines[i];
        text += '\n';
    }
}

}  // namespace

// Lines that both others have kept are fixed points. Between two of them at most one may differ from the
// base.
std::optional<std::string> mergedChanges(std::string_view base, std::string_view ours,
                                         std::string_view theirs) {
    const Lines old(base);
    const Lines left(ours);
    const Lines right(theirs);
    const std::vector<size_t> inLeft = partners(old, left);
    const std::vector<size_t> inRight = partners(old, right);
    std::string text;
    Range o{0, 0};
    Range l{0, 0};
    Range r{0, 0};
    for (; o.end <= old.size(); ++o.end) {
        const bool atEnd = o.end == old.size();
        if (!atEnd && (inLeft[o.end] == NoPartner || inRight[o.end] == NoPartner)) {
            continue;
        }
        l.end = atEnd ? left.size() : inLeft[o.end];
        r.end = atEnd ? right.size() : inRight[o.end];
        const bool keepsOurs = equal(old, o, right, r) || equal(left, l, right, r);
        if (!keepsOurs && !equal(old, o, left, l)) {
            return std::nullopt;
        }
        keepsOurs ? append(text, left, l) : append(text, right, r);
        if (!atEnd) {
            append(text, old, {o.end, o.end + 1});
        }
        o.first = o.end + 1;
        l = {l.end + 1, l.end + 1};
        r = {r.end + 1, r.end + 1};
    }
    const bool finalNewline =
        left.finalNewline == old.finalNewline ? right.finalNewline : left.finalNewline;
    if (!finalNewline && !text.empty()) {
        text.pop_back();
    }
    return text;
}

}  // namespace zpweb
