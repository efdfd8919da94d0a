#include "text/Matching.h"

#include <utility>

#include "conf/Line.h"
#include "text/Align.h"

namespace zpweb {

namespace {

// Lines by their numbers and keys.
struct Keyed {
    std::vector<size_t> lines;
    std::vector<std::string> keys;

    void add(size_t line, std::string key) {
        lines.push_back(line);
        keys.push_back(std::move(key));
    }
};

class Matcher {
public:
    Matcher(const Subject& before, const Lines& after)
        : before_(before), after_(after), middle_{0, after.size()} {
        for (const Range& range : before.scope.part) {
            for (size_t i = range.first; i < range.end; ++i) {
                found_.seen.push_back(i);
            }
        }
        found_.partner.assign(before.size(), NoPartner);
        found_.taken.resize(after.size());
        found_.middle = {0, found_.seen.size()};
    }

    Matching matching() {
        matchBeginnings();
        matchEnds();
        matchKept();
        matchChanged();
        return std::move(found_);
    }

private:
    void pair(size_t i, size_t j) {
        found_.partner[i] = j;
        found_.taken[j] = true;
    }
    bool areSame(size_t i, size_t j) const {
        return !before_.mayChange(i) && withoutReturn(before_[i]) == after_[j];
    }

    // What stands before the first change. Empty lines are passed over on both sides.
    void matchBeginnings() {
        size_t& i = found_.middle.first;
        size_t& j = middle_.first;
        for (;; ++i, ++j) {
            while (i < found_.middle.end && before_.isEmpty(found_.seen[i])) {
                ++i;
            }
            while (j < middle_.end && after_[j].empty()) {
                ++j;
            }
            if (i == found_.middle.end || j == middle_.end || !areSame(found_.seen[i], j)) {
                return;
            }
            pair(found_.seen[i], j);
        }
    }

    // What stands behind the last change.
    void matchEnds() {
        size_t& i = found_.middle.end;
        size_t& j = middle_.end;
        for (;; --i, --j) {
            while (i > found_.middle.first && before_.isEmpty(found_.seen[i - 1])) {
                --i;
            }
            while (j > middle_.first && after_[j - 1].empty()) {
                --j;
            }
            if (i == found_.middle.first || j == middle_.first || !areSame(found_.seen[i - 1], j - 1)) {
                return;
            }
            pair(found_.seen[i - 1], j - 1);
        }
    }

    // The directives that were not to be changed come in the result as they come in the text, except where
    // the operation has dropped some.
    void matchKept() {
        Keyed kept;
        for (size_t p = found_.middle.first; p < found_.middle.end; ++p) {
            const size_t i = found_.seen[p];
            if (!before_.mayChange(i) && before_.isMatched(i)) {
                kept.add(i, before_.key(i));
            }
        }
        matchByKey(kept, middle_);
    }

    // The others, each between its matched neighbours.
    void matchChanged() {
        size_t from = middle_.first;
        Keyed changed;
        for (size_t p = found_.middle.first; p < found_.middle.end; ++p) {
            const size_t i = found_.seen[p];
            if (found_.partner[i] != NoPartner) {
                matchByKey(std::exchange(changed, {}), {from, found_.partner[i]});
                from = found_.partner[i] + 1;
            } else if (before_.mayChange(i) && before_.isMatched(i)) {
                changed.add(i, before_.key(i));
            }
        }
        matchByKey(changed, {from, middle_.end});
    }

    void matchByKey(const Keyed& lines, Range among) {
        if (lines.lines.empty()) {
            return;
        }
        Keyed candidates;
        for (size_t j = among.first; j < among.end; ++j) {
            if (!found_.taken[j] && !after_[j].empty()) {
                candidates.add(j, keyOf(after_[j]));
            }
        }
        for (const Pair& found : align(lines.keys, candidates.keys)) {
            pair(lines.lines[found.before], candidates.lines[found.after]);
        }
    }

    const Subject& before_;
    const Lines& after_;
    Matching found_;
    Range middle_;  // found_.middle in terms of the result
};

}  // namespace

std::string_view trimmed(std::string_view line) { return zp::conf::trimEnd(zp::conf::skipSpace(line)); }

bool isComment(std::string_view line) { return zp::conf::skipSpace(line).starts_with('#'); }

std::string keyOf(std::string_view line) {
    const std::string_view text = trimmed(line);
    std::string key(text);
    if (zp::conf::beginsIgnoringCase(text, zp::conf::keyword::Directory)) {
        std::erase_if(key, [](char c) { return c == '"' || c == '>' || c == ' ' || c == '\t'; });
        key.replace(0, zp::conf::keyword::Directory.size(), zp::conf::keyword::Directory);
    }
    return key;
}

Matching match(const Subject& before, const Lines& after) { return Matcher(before, after).matching(); }

}  // namespace zpweb
