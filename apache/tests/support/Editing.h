// Every operation that rewrites a configuration, each with a change to make in the same one.
#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <span>
#include <string>

namespace zp::test {

struct Editing {
    const char* name;
    std::string copy;  // the suffix of its name, or its path; empty: the time in seconds
    size_t bound;      // of a line; 0: none
    int done, notFound, noFile, noScratch;
    std::function<int(const std::string& file, const std::string& value)>
        run;  // the value is in what is written

    friend std::ostream& operator<<(std::ostream& out, const Editing& editing) {
        return out << editing.name;
    }
};

[[nodiscard]] std::span<const Editing> editings();
[[nodiscard]] const std::string& editedConfiguration();  // needs the accounts of addSiteAccounts

}  // namespace zp::test
