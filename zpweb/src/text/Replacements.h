// Pieces of a text that are replaced, in any order.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zpweb {

class Replacements {
public:
    explicit Replacements(std::string_view text) : text_(text) {}

    void replace(std::string_view part, std::string with);
    void insert(const char* at, std::string text) { replace({at, at}, std::move(text)); }
    void remove(std::string_view part) { replace(part, {}); }
    // What lies in a part that is removed goes with it.
    std::string made();

private:
    struct Replacement {
        size_t begin, end;
        std::string with;
    };
    std::string_view text_;
    std::vector<Replacement> all_;
};

// A word without the line ends in it.
std::string joined(std::string_view word);

}  // namespace zpweb
