#include "text/Difference.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace zpweb {

namespace {

using Keys = std::vector<unsigned>;  // lines by number: equal lines have equal numbers

// Both lists in terms of one numbering.
template <class Text>
std::pair<Keys, Keys> numbered(const std::vector<Text>& before, const std::vector<Text>& after) {
    std::unordered_map<std::string_view, unsigned> numbers;
    const auto take = [&](const std::vector<Text>& list) {
        Keys keys;
        keys.reserve(list.size());
        for (const Text& text : list) {
            keys.push_back(numbers.try_emplace(text, static_cast<unsigned>(numbers.size())).first->second);
        }
        return keys;
    };
    Keys a = take(before);
    Keys b = take(after);
    return {std::move(a), std::move(b)};
}

class Aligner {
public:
    Aligner(const Keys& before, const Keys& after) : a_(before), b_(after) {}

    std::vector<Pair> aligned() {
        alignRanges({0, a_.size()}, {0, b_.size()});
        std::sort(pairs_.begin(), pairs_.end(),
                  [](const Pair& x, const Pair& y) { return x.before < y.before; });
        return std::move(pairs_);
    }

private:
    // Equal ends, then lines that occur once in both ranges as fixed points, then what lies between those.
    void alignRanges(Range a, Range b) {
        while (a.first < a.end && b.first < b.end && a_[a.first] == b_[b.first]) {
            pairs_.push_back({a.first++, b.first++});
        }
        while (a.first < a.end && b.first < b.end && a_[a.end - 1] == b_[b.end - 1]) {
            pairs_.push_back({--a.end, --b.end});
        }
        if (a.first == a.end || b.first == b.end) {
            return;
        }
        const std::vector<Pair> fixed = longestRising(uniqueInBoth(a, b));
        if (fixed.empty()) {
            longestCommon(a, b);
            return;
        }
        for (const Pair& point : fixed) {
            alignRanges({a.first, point.before}, {b.first, point.after});
            pairs_.push_back(point);
            a.first = point.before + 1;
            b.first = point.after + 1;
        }
        alignRanges(a, b);
    }

    std::vector<Pair> uniqueInBoth(Range a, Range b) const {
        struct Count {
            size_t inA = 0, inB = 0, where = 0;
        };
        std::unordered_map<unsigned, Count> counts;
        for (size_t i = b.first; i < b.end; ++i) {
            Count& count = counts[b_[i]];
            ++count.inB;
            count.where = i;
        }
        for (size_t i = a.first; i < a.end; ++i) {
            if (const auto found = counts.find(a_[i]); found != counts.end()) {
                ++found->second.inA;
            }
        }
        std::vector<Pair> points;
        for (size_t i = a.first; i < a.end; ++i) {
            const auto found = counts.find(a_[i]);
            if (found != counts.end() && found->second.inA == 1 && found->second.inB == 1) {
                points.push_back({i, found->second.where});
            }
        }
        return points;
    }

    // The longest choice of points that rises in both lists.
    static std::vector<Pair> longestRising(const std::vector<Pair>& points) {
        std::vector<size_t> ends;  // the point that ends the best choice of each length
        std::vector<size_t> previous(points.size());
        for (size_t i = 0; i < points.size(); ++i) {
            const auto place =
                std::lower_bound(ends.begin(), ends.end(), points[i].after,
                                 [&](size_t end, size_t after) { return points[end].after < after; });
            previous[i] = place == ends.begin() ? points.size() : *(place - 1);
            if (place == ends.end()) {
                ends.push_back(i);
            } else {
                *place = i;
            }
        }
        std::vector<Pair> chosen;
        for (size_t i = ends.empty() ? points.size() : ends.back(); i < points.size(); i = previous[i]) {
            chosen.push_back(points[i]);
        }
        std::reverse(chosen.begin(), chosen.end());
        return chosen;
    }

    // The longest common subsequence by its table; ranges too large for one are left unpaired.
    void longestCommon(Range a, Range b) {
        constexpr size_t LargestTable = 16'000'000;
        const size_t rows = a.end - a.first;
        const size_t columns = b.end - b.first;
        if (rows * columns > LargestTable) {
            return;
        }
        std::vector<unsigned> length((rows + 1) * (columns + 1));
        const auto at = [&](size_t row, size_t column) -> unsigned& {
            return length[row * (columns + 1) + column];
        };
        for (size_t row = rows; row-- > 0;) {
            for (size_t column = columns; column-- > 0;) {
                at(row, column) = a_[a.first + row] == b_[b.first + column]
                                      ? at(row + 1, column + 1) + 1
                                      : std::max(at(row + 1, column), at(row, column + 1));
            }
        }
        for (size_t row = 0, column = 0; row < rows && column < columns;) {
            if (a_[a.first + row] == b_[b.first + column]) {
                pairs_.push_back({a.first + row++, b.first + column++});
            } else if (at(row + 1, column) >= at(row, column + 1)) {
                ++row;
            } else {
                ++column;
            }
        }
    }

    const Keys& a_;
    const Keys& b_;
    std::vector<Pair> pairs_;
};

struct Step {
    char mark;
    size_t before, after;
    std::string_view text;
};

std::vector<Step> stepsOf(const Lines& before, const Lines& after, const std::vector<Pair>& pairs) {
    std::vector<Step> steps;
    size_t i = 0;
    size_t j = 0;
    const auto upTo = [&](size_t a, size_t b) {
        for (; i < a; ++i) {
            steps.push_back({'-', i, j, before[i]});
        }
        for (; j < b; ++j) {
            steps.push_back({'+', i, j, after[j]});
        }
    };
    for (const Pair& pair : pairs) {
        upTo(pair.before, pair.after);
        steps.push_back({' ', i++, j++, before[pair.before]});
    }
    upTo(before.size(), after.size());
    return steps;
}

std::string countOf(size_t first, size_t count) {
    const std::string start = std::to_string(count == 0 ? first : first + 1);
    return count == 1 ? start : start + "," + std::to_string(count);
}

void appendHunk(std::string& diff, const std::vector<Step>& steps, Range hunk, const Lines& before,
                const Lines& after) {
    size_t removed = 0;
    size_t added = 0;
    for (size_t i = hunk.first; i < hunk.end; ++i) {
        removed += steps[i].mark != '+';
        added += steps[i].mark != '-';
    }
    diff += "@@ -" + countOf(steps[hunk.first].before, removed) + " +" +
            countOf(steps[hunk.first].after, added) + " @@\n";
    for (size_t i = hunk.first; i < hunk.end; ++i) {
        const Step& step = steps[i];
        diff += step.mark;
        diff += step.text;
        diff += '\n';
        const bool last = step.mark == '+' ? !after.finalNewline && step.after + 1 == after.size()
                                           : !before.finalNewline && step.before + 1 == before.size();
        if (last) {
            diff += "\\ No newline at end of file\n";
        }
    }
}

}  // namespace

std::vector<Pair> align(const std::vector<std::string>& before, const std::vector<std::string>& after) {
    const auto [a, b] = numbered(before, after);
    return Aligner(a, b).aligned();
}

std::string unifiedDiff(const std::string& name, std::string_view before, std::string_view after) {
    if (before == after) {
        return {};
    }
    constexpr size_t Context = 3;
    const Lines old(before);
    const Lines fresh(after);
    const auto [a, b] = numbered(old.all, fresh.all);
    std::vector<Pair> pairs = Aligner(a, b).aligned();
    if (old.finalNewline != fresh.finalNewline && !pairs.empty() && pairs.back().before + 1 == old.size() &&
        pairs.back().after + 1 == fresh.size()) {
        pairs.pop_back();  // the last lines differ in their newline
    }
    const std::vector<Step> steps = stepsOf(old, fresh, pairs);
    std::string diff = "--- " + name + "\n+++ " + name + "\n";
    for (size_t i = 0; i < steps.size();) {
        if (steps[i].mark == ' ') {
            ++i;
            continue;
        }
        Range hunk{i - std::min(i, Context), i};
        for (size_t next = i; next < steps.size() && next <= hunk.end + 2 * Context; ++next) {
            if (steps[next].mark != ' ') {
                hunk.end = next + 1;
            }
        }
        hunk.end = std::min(hunk.end + Context, steps.size());
        appendHunk(diff, steps, hunk, old, fresh);
        i = hunk.end;
    }
    return diff;
}

}  // namespace zpweb
