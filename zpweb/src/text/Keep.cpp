#include "text/Keep.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "conf/Line.h"
#include "text/Matching.h"

namespace zpweb {

namespace {

class Merge {
public:
    Merge(const Scope& scope, std::string_view result)
        : before_{scope},
          result_(result),
          after_(result),
          matching_(match(before_, after_)),
          dropped_(before_.size()) {}

    std::string text() {
        drop();
        placeAdditions();
        return assembled();
    }

private:
    bool hasPartner(size_t i) const { return matching_.partner[i] != NoPartner; }

    // --- what goes ---

    // A directive that may be changed and is not in the result is gone. A comment or an empty line goes
    // only with what is around it.
    void drop() {
        for (const Range& range : before_.scope.part) {
            for (size_t i = range.first; i < range.end; ++i) {
                dropped_[i] = before_.isMatched(i) && before_.mayChange(i) && !hasPartner(i);
            }
            for (size_t i = range.first; i < range.end; ++i) {
                if (!before_.isMatched(i) && before_.mayChange(i)) {
                    dropped_[i] = isNeighbourGone(i, range, -1) && isNeighbourGone(i, range, +1);
                }
            }
        }
    }
    bool isNeighbourGone(size_t i, Range range, int step) const {
        do {
            i += static_cast<size_t>(step);
        } while (range.holds(i) && !before_.isMatched(i));
        return range.holds(i) && dropped_[i];
    }

    // --- what is new ---

    // The lines that came back although the operation dropped them here: one that it wrote elsewhere
    // instead is not new.
    std::unordered_map<std::string, int> cameBack() const {
        std::unordered_map<std::string, int> counts;
        for (size_t p = matching_.middle.first; p < matching_.middle.end; ++p) {
            const size_t i = matching_.seen[p];
            if (!hasPartner(i) && !dropped_[i] && !before_.isEmpty(i)) {
                ++counts[before_.key(i)];
            }
        }
        return counts;
    }

    bool isNew(size_t j, std::unordered_map<std::string, int>& returned) const {
        if (matching_.taken[j] || after_[j].empty() || isComment(after_[j])) {
            return false;
        }
        const auto found = returned.find(keyOf(after_[j]));
        const bool isBack = found != returned.end() && found->second > 0;
        if (isBack) {
            --found->second;
        }
        return !isBack;
    }

    // New lines go to the place of the first line that went between the same neighbours, or else before the
    // neighbour that follows.
    void placeAdditions() {
        auto returned = cameBack();
        std::vector<size_t> placeOf(after_.size() + 1, NoPartner);  // by the next taken line of the result
        for (const size_t i : matching_.seen) {
            if (hasPartner(i)) {
                placeOf[matching_.partner[i]] = i;
            }
        }
        size_t following = before_.scope.part.empty() ? before_.size() : before_.scope.part.back().end;
        for (size_t j = after_.size(); j-- > 0;) {
            following = placeOf[j] = placeOf[j] == NoPartner ? following : placeOf[j];
        }
        for (size_t j = 0; j < after_.size(); ++j) {
            if (isNew(j, returned)) {
                additions_[firstGoneBefore(placeOf[j])].push_back(j);
            }
        }
    }
    size_t firstGoneBefore(size_t place) const {
        size_t first = place;
        for (size_t i = place; i-- > 0 && !hasPartner(i) && before_.scope.sees(i);) {
            if (dropped_[i] && before_.isMatched(i)) {
                first = i;
            }
        }
        return first;
    }

    // --- the text ---

    std::string assembled() {
        std::string text;
        text.reserve(before_.scope.text.size() + result_.size());
        size_t from = 0;
        for (const auto& [place, lines] : additions_) {
            appendKept(text, {from, place});
            from = place;
            for (const size_t j : lines) {
                append(text, j);
            }
        }
        appendKept(text, {from, before_.size()});
        if (cut_) {
            text.pop_back();
        }
        return text;
    }

    void appendKept(std::string& text, Range range) {
        for (size_t i = range.first; i < range.end; ++i) {
            if (dropped_[i]) {
                continue;
            }
            text += before_[i];
            text += '\n';
            cut_ = !before_.scope.lines.finalNewline && i + 1 == before_.size();
        }
    }

    void append(std::string& text, size_t j) {
        const bool returns = before_.size() > 0 && endsInReturn(before_[0]);
        const std::string_view newline = returns ? "\r\n" : "\n";
        if (std::exchange(cut_, false) && returns) {
            text.insert(text.size() - 1, 1, '\r');
        }
        // Only what starts a paragraph of its own is written behind an empty line by operations.
        const bool begins = zp::conf::beginsIgnoringCase(after_[j], zp::conf::keyword::VirtualHost) ||
                            zp::conf::beginsIgnoringCase(after_[j], zp::conf::keyword::NameVirtualHost);
        const bool separated = begins && j > 0 && after_[j - 1].empty();
        if (separated && !text.empty() && !text.ends_with("\n\n") && !text.ends_with("\n\r\n")) {
            text += newline;
        }
        text += after_[j];
        text += newline;
    }

    const Subject before_;
    const std::string_view result_;
    const Lines after_;
    const Matching matching_;
    std::vector<bool> dropped_;                        // lines of the text
    std::map<size_t, std::vector<size_t>> additions_;  // before which line of the text
    bool cut_ = false;  // the last line that was written is the old one that has no newline
};

}  // namespace

std::string merged(const Scope& scope, std::string_view result) { return Merge(scope, result).text(); }

}  // namespace zpweb
