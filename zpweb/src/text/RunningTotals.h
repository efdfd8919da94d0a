// Counts in a row, whose sums change cheaply with them (a Fenwick tree).
#pragma once

#include <cstddef>
#include <vector>

namespace zpweb {

class RunningTotals {
public:
    void append(size_t count) {
        counts_.push_back(count);
        const size_t end = counts_.size();
        tree_.push_back(before(end - 1) - before(end - lowestBit(end)) + count);
    }
    void removeLast() {
        counts_.pop_back();
        tree_.pop_back();
    }
    void set(size_t number, size_t count) {
        const size_t more = count - counts_[number];  // modulo, when it is less
        counts_[number] = count;
        for (size_t i = number + 1; i <= tree_.size(); i += lowestBit(i)) {
            tree_[i - 1] += more;
        }
    }
    // The sum of those in front of this one.
    size_t before(size_t number) const {
        size_t sum = 0;
        for (size_t i = number; i > 0; i -= lowestBit(i)) {
            sum += tree_[i - 1];
        }
        return sum;
    }

private:
    static size_t lowestBit(size_t i) { return i & (~i + 1); }

    std::vector<size_t> counts_, tree_;
};

}  // namespace zpweb
