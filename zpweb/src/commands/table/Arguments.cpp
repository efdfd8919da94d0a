#include "commands/table/Arguments.h"

#include "commands/table/Command.h"

namespace zpweb {

namespace {

// Appends the values, each in the form in which it is used.
Outcome takeTyped(const Parameter& parameter, const std::vector<std::string>& given,
                  std::vector<std::string>& taken) {
    for (const std::string& value : given) {
        auto typed = typedValue(parameter.kind, parameter.name, value, parameter.value);
        if (!typed.ok()) {
            return typed.outcome();
        }
        taken.push_back(std::move(*typed));
    }
    return done();
}

}  // namespace

Expected<Arguments> Arguments::from(const Command& command, const GivenWords& given) {
    Arguments arguments;
    for (const Parameter& parameter : command.parameters) {
        const auto found = given.find(parameter.name);
        if (found == given.end() && parameter.required) {
            return failure(Status::Usage,
                           std::string(command.words) + ": " + std::string(parameter.name) + " is missing");
        }
        if (found != given.end()) {
            auto& taken = arguments.values_[found->first];
            if (Outcome typed = takeTyped(parameter, found->second, taken); !typed.ok()) {
                return typed;
            }
        }
    }
    return arguments;
}

std::vector<std::string> Arguments::all(const Parameter& wanted) const {
    const auto found = values_.find(wanted.name);
    return found == values_.end() ? std::vector<std::string>() : found->second;
}

std::optional<std::string> Arguments::maybeText(const Parameter& wanted) const {
    const auto found = values_.find(wanted.name);
    return found == values_.end() || found->second.empty() ? std::nullopt
                                                           : std::optional(found->second.front());
}

}  // namespace zpweb
