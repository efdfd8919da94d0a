// What somebody may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zpweb {

// Collects candidates, and keeps the one that is nearest to a word: a few letters changed, missing, added
// or swapped.
class Nearest {
public:
    explicit Nearest(std::string_view word);
    void consider(std::string_view candidate);
    // "; did you mean "site list"?", or nothing.
    std::string question() const;

private:
    std::string word_, best_;
    size_t distance_;  // one more than what is near enough, or the best so far
};

}  // namespace zpweb
