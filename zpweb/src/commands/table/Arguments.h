// The values of one call of a command.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "commands/table/Parameter.h"
#include "sys/Number.h"
#include "sys/Outcome.h"

namespace zpweb {

struct Command;

// As the call gave them, by the names of the parameters; an option without a value has an empty list.
using GivenWords = std::map<std::string, std::vector<std::string>, std::less<>>;

// The same, each checked and in the form in which it is used. What is absent reads as empty.
class Arguments {
public:
    static Expected<Arguments> from(const Command& command, const GivenWords& given);

    // Of values that are checked already.
    explicit Arguments(GivenWords values) : values_(std::move(values)) {}
    Arguments() = default;
    const GivenWords& values() const { return values_; }

    std::string operator[](const Of<std::string>& wanted) const {
        return maybeText(wanted.parameter).value_or("");
    }
    std::optional<std::string> operator[](const Of<std::optional<std::string>>& wanted) const {
        return maybeText(wanted.parameter);
    }
    std::optional<int> operator[](const Of<std::optional<int>>& wanted) const {
        const auto text = maybeText(wanted.parameter);
        return text ? std::optional(leadingNumber(*text)) : std::nullopt;
    }
    bool operator[](const Of<bool>& wanted) const { return values_.contains(wanted.parameter.name); }
    std::vector<std::string> operator[](const Of<std::vector<std::string>>& wanted) const {
        return all(wanted);
    }
    bool has(const Parameter& wanted) const { return values_.contains(wanted.name); }
    std::vector<std::string> all(const Parameter& wanted) const;

    // The password of a command that needs one.
    const std::string& secret() const { return *secret_; }
    bool hasSecret() const { return secret_.has_value(); }
    void setSecret(std::string secret) { secret_ = std::move(secret); }

private:
    std::optional<std::string> maybeText(const Parameter& wanted) const;

    GivenWords values_;
    std::optional<std::string> secret_;
};

}  // namespace zpweb
