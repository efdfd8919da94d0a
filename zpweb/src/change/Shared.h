// What the commands of one change share: lists of all sites, which are read once and written once however
// many commands add to them.
#pragma once

#include <any>
#include <functional>
#include <map>
#include <string>

#include "sys/Outcome.h"

namespace zpweb {

class Shared {
public:
    // The value of this name; read when the first asks for it.
    template <class Value>
    Value& value(const std::string& name, const std::function<Value()>& read) {
        std::any& kept = values_[name];
        if (!kept.has_value()) {
            kept = read();
        }
        return std::any_cast<Value&>(kept);
    }

    // Done once when all commands have staged; what was asked for under the same name before is not.
    void atEnd(const std::string& name, std::function<Outcome()> action) {
        ends_[name] = std::move(action);
    }
    void noteChange() { ++changes_; }
    size_t changes() const { return changes_; }
    bool waits() const { return !ends_.empty(); }

    Outcome end();
    void forget() { values_.clear(); }

private:
    std::map<std::string, std::any> values_;
    std::map<std::string, std::function<Outcome()>> ends_;
    size_t changes_ = 0;
};

}  // namespace zpweb
