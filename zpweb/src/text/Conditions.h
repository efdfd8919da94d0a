// The conditions that a line within a block stands in: <IfModule>, <IfDefine> and the like.
//
// The text cannot tell whether one is met. What the server has told is known by the condition's key: its
// tag, behind those of the conditions around it, one a line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/Values.h"

namespace zpweb {

class Conditions {
public:
    explicit Conditions(Values& values) : values_(values) {}

    // A tag; false: it opens or closes no condition.
    bool take(std::string_view tag, std::string_view arguments);

    bool none() const { return open_.empty(); }
    const std::string& key() const { return key_; }
    // Nothing that is not known is met or unmet.
    bool areUnmet() const { return unmet_; }
    bool areKnown() const { return none() || values_.isMet(key_).has_value(); }

private:
    void close(std::string_view name);
    void ask();

    Values& values_;
    struct Open {
        std::string name;
        size_t before = 0;  // the key's length without it
    };
    std::vector<Open> open_;
    std::string key_;
    bool unmet_ = false;
};

}  // namespace zpweb
