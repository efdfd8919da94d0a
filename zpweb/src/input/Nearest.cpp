#include "input/Nearest.h"

#include <algorithm>

#include "input/Quoted.h"

namespace zpweb {

namespace {

bool isSwapped(std::string_view a, std::string_view b, size_t i, size_t k) {
    return i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1];
}

// How many single changes lead from one text to the other, a swap of neighbours being one; three rows of
// the usual table are enough.
size_t distanceOf(std::string_view a, std::string_view b) {
    std::vector<size_t> beforeLast(b.size() + 1);
    std::vector<size_t> last(b.size() + 1);
    std::vector<size_t> row(b.size() + 1);
    for (size_t k = 0; k <= b.size(); ++k) {
        last[k] = k;
    }
    for (size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (size_t k = 1; k <= b.size(); ++k) {
            row[k] = std::min({last[k] + 1, row[k - 1] + 1, last[k - 1] + (a[i - 1] == b[k - 1] ? 0 : 1)});
            if (isSwapped(a, b, i, k)) {
                row[k] = std::min(row[k], beforeLast[k - 2] + 1);
            }
        }
        beforeLast.swap(last);
        last.swap(row);
    }
    return last[b.size()];
}

}  // namespace

Nearest::Nearest(std::string_view word)
    : word_(word), distance_(std::min<size_t>(word.size() / 3, 3) + 1) {}

void Nearest::consider(std::string_view candidate) {
    const size_t apart =
        std::max(candidate.size(), word_.size()) - std::min(candidate.size(), word_.size());
    if (apart >= distance_) {
        return;
    }
    if (const size_t distance = distanceOf(word_, candidate); distance < distance_) {
        distance_ = distance;
        best_ = candidate;
    }
}

std::string Nearest::question() const {
    return best_.empty() ? "" : "; did you mean " + inQuotes(best_) + "?";
}

}  // namespace zpweb
