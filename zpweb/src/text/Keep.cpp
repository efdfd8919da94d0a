#include "text/Keep.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "conf/Line.h"
#include "text/Difference.h"

namespace zpweb {

namespace {

constexpr size_t None = static_cast<size_t>(-1);

std::string_view trimmed(std::string_view line) { return zp::conf::trimEnd(zp::conf::skipSpace(line)); }
bool isComment(std::string_view line) { return trimmed(line).starts_with('#'); }

// The text of a line, whatever comment marks and white space stand before it.
std::string_view behindMarks(std::string_view line) {
    const size_t text = line.find_first_not_of("# \t");
    return text == line.npos ? std::string_view() : line.substr(text);
}

// Two lines with the same key say the same: white space around them does not count, nor does the way in
// which the path of a <Directory> is written.
std::string keyOf(std::string_view line, Marks marks) {
    std::string_view text = trimmed(line);
    if (marks != Marks::Untouched) {
        text = behindMarks(text);
    }
    std::string key(text);
    if (zp::conf::beginsIgnoringCase(text, zp::conf::keyword::Directory)) {
        std::erase_if(key, [](char c) { return c == '"' || c == '>' || c == ' ' || c == '\t'; });
        key.replace(0, zp::conf::keyword::Directory.size(), zp::conf::keyword::Directory);
    }
    return key;
}

class Merge {
public:
    Merge(const Lines& before, const Scope& scope, std::string_view result)
        : before_(before),
          scope_(scope),
          after_(result),
          partner_(before.size(), None),
          taken_(after_.size()) {
        for (const Range& range : scope.part) {
            for (size_t i = range.first; i < range.end; ++i) {
                part_.push_back(i);
            }
        }
    }

    std::string text() {
        matchEnds();
        matchKept();
        matchChanged();
        decide();
        placeAdditions();
        return assembled();
    }

private:
    // --- which line of the result is which line of the text
    // -----------------------------------------------

    bool mayChange(size_t i) const { return scope_.mayChange[i]; }
    bool empty(size_t i) const { return withoutReturn(before_[i]).empty(); }
    void pair(size_t i, size_t j) {
        partner_[i] = j;
        taken_[j] = true;
    }

    // What stands before the first and behind the last change.
    void matchEnds() {
        if (scope_.marks != Marks::Untouched) {
            last_ = part_.size();
            lastAfter_ = after_.size();
            return;
        }
        size_t i = 0;
        size_t j = 0;
        last_ = part_.size();
        lastAfter_ = after_.size();
        for (;;) {
            while (i < last_ && empty(part_[i])) {
                ++i;
            }
            while (j < lastAfter_ && after_[j].empty()) {
                ++j;
            }
            if (i == last_ || j == lastAfter_ || !same(part_[i], j)) {
                break;
            }
            pair(part_[i++], j++);
        }
        first_ = i;
        firstAfter_ = j;
        for (;;) {
            while (last_ > first_ && empty(part_[last_ - 1])) {
                --last_;
            }
            while (lastAfter_ > firstAfter_ && after_[lastAfter_ - 1].empty()) {
                --lastAfter_;
            }
            if (last_ == first_ || lastAfter_ == firstAfter_ || !same(part_[last_ - 1], lastAfter_ - 1)) {
                break;
            }
            pair(part_[--last_], --lastAfter_);
        }
    }
    bool same(size_t i, size_t j) const { return !mayChange(i) && withoutReturn(before_[i]) == after_[j]; }

    // Lines are matched by their key. Comments are not matched: they stay where they are, and the operation
    // never writes one, unless comment marks are what it changes.
    bool matched(size_t i) const {
        return !empty(i) && (scope_.marks == Marks::Removed || !isComment(before_[i]));
    }

    // The directives that were not to be changed come in the result as they come in the text, except where
    // the operation has dropped some.
    void matchKept() {
        std::vector<size_t> lines;
        std::vector<std::string> keys;
        for (size_t p = first_; p < last_; ++p) {
            if (!mayChange(part_[p]) && matched(part_[p])) {
                lines.push_back(part_[p]);
                keys.push_back(keyOf(before_[part_[p]], scope_.marks));
            }
        }
        matchByKey(lines, keys, {firstAfter_, lastAfter_});
    }

    // The others, each between its matched neighbours.
    void matchChanged() {
        size_t from = firstAfter_;
        std::vector<size_t> lines;
        std::vector<std::string> keys;
        const auto close = [&](size_t to) {
            if (!lines.empty()) {
                matchByKey(lines, keys, {from, to});
                lines.clear();
                keys.clear();
            }
        };
        for (size_t p = first_; p < last_; ++p) {
            const size_t i = part_[p];
            if (partner_[i] != None) {
                close(partner_[i]);
                from = partner_[i] + 1;
            } else if (mayChange(i) && matched(i)) {
                lines.push_back(i);
                keys.push_back(keyOf(before_[i], scope_.marks));
            }
        }
        close(lastAfter_);
    }

    void matchByKey(const std::vector<size_t>& lines, const std::vector<std::string>& keys, Range among) {
        std::vector<size_t> candidates;
        std::vector<std::string> candidateKeys;
        for (size_t j = among.first; j < among.end; ++j) {
            if (!taken_[j] && !after_[j].empty()) {
                candidates.push_back(j);
                candidateKeys.push_back(keyOf(after_[j], scope_.marks));
            }
        }
        for (const Pair& found : align(keys, candidateKeys)) {
            pair(lines[found.before], candidates[found.after]);
        }
    }

    // --- what becomes of each line
    // ------------------------------------------------------------------------

    // A directive that may be changed and is not in the result is gone. A comment or an empty line goes
    // only with what is around it.
    void decide() {
        dropped_.assign(before_.size(), false);
        if (scope_.marks != Marks::Untouched) {
            return;
        }
        for (const Range& range : scope_.part) {
            for (size_t i = range.first; i < range.end; ++i) {
                dropped_[i] = matched(i) && mayChange(i) && partner_[i] == None;
            }
            for (size_t i = range.first; i < range.end; ++i) {
                if (!matched(i) && mayChange(i)) {
                    dropped_[i] = neighbourGone(i, range, -1) && neighbourGone(i, range, +1);
                }
            }
            if (scope_.takesBlankLine) {
                takeBlankLine(range);
            }
        }
    }
    bool neighbourGone(size_t i, Range range, int step) const {
        do {
            i += static_cast<size_t>(step);
        } while (range.holds(i) && !matched(i));
        return range.holds(i) && dropped_[i];
    }
    // The blank line before a removed range goes with it, if there is another behind it, or nothing.
    void takeBlankLine(Range range) {
        const bool gone = std::all_of(dropped_.begin() + static_cast<std::ptrdiff_t>(range.first),
                                      dropped_.begin() + static_cast<std::ptrdiff_t>(range.end),
                                      [](bool dropped) { return dropped; });
        if (gone && range.first > 0 && empty(range.first - 1) &&
            (range.end == before_.size() || empty(range.end))) {
            dropped_[range.first - 1] = true;
        }
    }

    // --- what is new
    // --------------------------------------------------------------------------------------

    // The lines that came back although the operation dropped them here: one that it wrote elsewhere
    // instead is not new.
    std::unordered_map<std::string, int> cameBack() const {
        std::unordered_map<std::string, int> counts;
        for (size_t p = first_; p < last_; ++p) {
            const size_t i = part_[p];
            if (partner_[i] == None && !dropped_[i] && !empty(i)) {
                ++counts[keyOf(before_[i], scope_.marks)];
            }
        }
        return counts;
    }

    bool isNew(size_t j, std::unordered_map<std::string, int>& returned) const {
        if (taken_[j] || after_[j].empty() || isComment(after_[j])) {
            return false;
        }
        if (const auto found = returned.find(keyOf(after_[j], scope_.marks));
            found != returned.end() && found->second > 0) {
            --found->second;
            return false;
        }
        return !scope_.mayAdd || scope_.mayAdd(trimmed(after_[j]));
    }

    // New lines go to the place of the first line that went between the same neighbours, or else before the
    // neighbour that follows.
    void placeAdditions() {
        auto returned = cameBack();
        std::vector<size_t> placeOf(after_.size() + 1, None);  // by the next taken line of the result
        for (const size_t i : part_) {
            if (partner_[i] != None) {
                placeOf[partner_[i]] = i;
            }
        }
        const size_t atEnd = scope_.part.empty() || scope_.part.back().end == before_.size()
                                 ? before_.size()
                                 : scope_.part.back().end;
        size_t following = atEnd;
        for (size_t j = after_.size(); j-- > 0;) {
            if (placeOf[j] != None) {
                following = placeOf[j];
            } else {
                placeOf[j] = following;
            }
        }
        for (size_t j = 0; j < after_.size(); ++j) {
            if (isNew(j, returned)) {
                additions_[firstGoneBefore(placeOf[j])].push_back(j);
            }
        }
    }
    size_t firstGoneBefore(size_t place) const {
        size_t first = place;
        for (size_t i = place; i-- > 0 && partner_[i] == None && inPart(i);) {
            if (dropped_[i] && matched(i)) {
                first = i;
            }
        }
        return first;
    }
    bool inPart(size_t i) const {
        return std::any_of(scope_.part.begin(), scope_.part.end(),
                           [i](const Range& range) { return range.holds(i); });
    }

    // --- the text
    // -----------------------------------------------------------------------------------------

    std::string assembled() {
        const bool returns = before_.size() > 0 && endsInReturn(before_[0]);
        const std::string_view newline = returns ? "\r\n" : "\n";
        std::string text;
        text.reserve(before_.size() * 48);
        bool cut = false;  // the last line written is the old one that has no newline
        for (size_t i = 0; i <= before_.size(); ++i) {
            if (const auto found = additions_.find(i); found != additions_.end()) {
                for (const size_t j : found->second) {
                    add(text, j, newline, cut);
                    cut = false;
                }
            }
            if (i < before_.size() && !dropped_[i]) {
                scope_.marks == Marks::Untouched ? text += before_[i] : text += withMarks(i);
                text += '\n';
                cut = !before_.finalNewline && i + 1 == before_.size();
            }
        }
        if (cut) {
            text.pop_back();
        }
        return text;
    }

    void add(std::string& text, size_t j, std::string_view newline, bool behindCutLine) const {
        if (behindCutLine && newline.size() > 1) {
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

    std::string withMarks(size_t i) const {
        std::string line(before_[i]);
        const bool inScope = scope_.marks != Marks::Untouched && mayChange(i) && !empty(i);
        if (inScope && scope_.marks == Marks::Added) {
            return "#" + line;
        }
        if (inScope && line.starts_with('#')) {
            return line.substr(1);
        }
        return line;
    }

    const Lines& before_;
    const Scope& scope_;
    Lines after_;
    std::vector<size_t> part_;     // the lines of the text that the operation saw
    std::vector<size_t> partner_;  // of each line of the text
    std::vector<bool> taken_;      // of each line of the result: it has a partner
    std::vector<bool> dropped_;
    std::map<size_t, std::vector<size_t>> additions_;  // before which line of the text
    size_t first_ = 0, last_ = 0;                      // the changed middle, in terms of part_
    size_t firstAfter_ = 0, lastAfter_ = 0;            // the same in the result
};

}  // namespace

std::string partOf(const Lines& before, const Scope& scope) {
    std::string text;
    for (const Range& range : scope.part) {
        for (size_t i = range.first; i < range.end; ++i) {
            if (scope.hidden.empty() || !scope.hidden[i]) {
                text += withoutReturn(before[i]);
                text += '\n';
            }
        }
    }
    return text;
}

std::string merged(const Lines& before, const Scope& scope, std::string_view result) {
    return Merge(before, scope, result).text();
}

}  // namespace zpweb
