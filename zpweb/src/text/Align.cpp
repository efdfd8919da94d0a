#include "text/Align.h"

#include <algorithm>
#include <span>
#include <unordered_map>

#include "text/Lines.h"

namespace zpweb {

namespace {

using Keys = std::vector<unsigned>;  // lines by number: equal lines have equal numbers

// Parts of both lists in terms of one numbering.
template <class Text>
std::pair<Keys, Keys> numbered(std::span<const Text> before, std::span<const Text> after) {
    std::unordered_map<std::string_view, unsigned> numbers;
    const auto take = [&](std::span<const Text> list) {
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

    // The longest common subsequence by its table; ranges too large for one are left unpaired, and so are
    // those behind many large ones: who writes the lists may have made them so.
    void longestCommon(Range a, Range b) {
        constexpr size_t LargestTable = 16'000'000;
        const size_t rows = a.end - a.first;
        const size_t columns = b.end - b.first;
        if (rows * columns > std::min(LargestTable, left_)) {
            return;
        }
        left_ -= rows * columns;
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
    size_t left_ = 32'000'000;  // cells of tables
};

// Equal ends are paired without a look at what the texts in between are.
template <class Text>
std::vector<Pair> alignTexts(std::span<const Text> before, std::span<const Text> after) {
    const auto first = std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first;
    const auto beginning = static_cast<size_t>(first - before.begin());
    const std::span a = before.subspan(beginning);
    const std::span b = after.subspan(beginning);
    const auto last = std::mismatch(a.rbegin(), a.rend(), b.rbegin(), b.rend()).first;
    const auto end = static_cast<size_t>(last - a.rbegin());
    const auto [keysOfA, keysOfB] = numbered(a.first(a.size() - end), b.first(b.size() - end));

    std::vector<Pair> pairs;
    pairs.reserve(before.size());
    for (size_t i = 0; i < beginning; ++i) {
        pairs.push_back({i, i});
    }
    for (const Pair& pair : Aligner(keysOfA, keysOfB).aligned()) {
        pairs.push_back({pair.before + beginning, pair.after + beginning});
    }
    for (size_t i = end; i > 0; --i) {
        pairs.push_back({before.size() - i, after.size() - i});
    }
    return pairs;
}

}  // namespace

std::vector<Pair> align(const std::vector<std::string>& before, const std::vector<std::string>& after) {
    return alignTexts(std::span(before), std::span(after));
}

std::vector<Pair> align(const std::vector<std::string_view>& before,
                        const std::vector<std::string_view>& after) {
    return alignTexts(std::span(before), std::span(after));
}

}  // namespace zpweb
