// Every operation that rewrites a configuration, each with a change to make in the same one.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace zp::test {

// What tells one operation from the others, apart from its results.
enum Trait : unsigned {
    Plain = 0,
    Writes = 1,      // the value goes into the text, and a line break in it is refused
    Keeps = 2,       // what does not hold the sought place is not even written again
    CopyFirst = 4,   // the copy is opened first: a missing directory is blamed on it
    LeavesCopy = 8,  // an empty copy stays where the configuration cannot be opened
};

struct Editing {
    const char* name;
    std::string copy;  // the suffix of its name, or its path; empty: the time in seconds
    size_t bound;      // of a line; 0: none
    int done, notFound, noFile, noScratch;
    unsigned traits;
    std::function<int(const std::string& file, const std::string& value)>
        run;  // the value is in what is written

    [[nodiscard]] bool is(Trait trait) const { return (traits & trait) != 0; }
    friend std::ostream& operator<<(std::ostream& out, const Editing& editing) {
        return out << editing.name;
    }
};

[[nodiscard]] std::span<const Editing> editings();
[[nodiscard]] std::vector<Editing> writingEditings();    // those that write the value
[[nodiscard]] const std::string& editedConfiguration();  // needs the accounts of addSiteAccounts

}  // namespace zp::test
