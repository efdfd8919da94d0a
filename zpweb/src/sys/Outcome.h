// How a step ended.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace zpweb {

// The exit statuses of the program.
enum class Status {
    Done = 0,  // also "already up to date"
    Error = 1,
    Usage = 2,
    Refused = 3,     // by the server's check
    RolledBack = 4,  // after a reload that failed
    Locked = 5,
    NotFound = 6,
    Exists = 7,
    WouldChange = 8,  // a dry run, when asked for a detailed exit status
};

struct [[nodiscard]] Outcome {
    Status status = Status::Done;
    std::string message;    // one line or more, without a newline at the end; empty when all is said
    bool upToDate = false;  // a failure only because what was asked for is so already: none with --ensure

    bool ok() const { return status == Status::Done; }
};

inline Outcome done() { return {}; }
inline Outcome failure(std::string message) { return {Status::Error, std::move(message), false}; }
inline Outcome failure(Status status, std::string message) { return {status, std::move(message), false}; }

// What was to be made is there, or what was to be removed is not.
inline Outcome existsAlready(std::string message) { return {Status::Exists, std::move(message), true}; }
inline Outcome isNotThere(std::string message) { return {Status::NotFound, std::move(message), true}; }

// What a command that removes something has not found is gone.
inline Outcome goneIsUpToDate(Outcome outcome) {
    outcome.upToDate = outcome.upToDate || outcome.status == Status::NotFound;
    return outcome;
}

// A value, or the reason why there is none.
template <class Value>
class [[nodiscard]] Expected {
public:
    Expected(Value value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
    // Of a look that went well the second time there is no value either.
    Expected(Outcome outcome)  // NOLINT(google-explicit-constructor)
        : outcome_(outcome.ok() ? failure("what was asked for is not known") : std::move(outcome)) {}

    bool ok() const { return value_.has_value(); }
    const Outcome& outcome() const { return outcome_; }
    Value& operator*() { return *value_; }
    const Value& operator*() const { return *value_; }
    Value* operator->() { return &*value_; }
    const Value* operator->() const { return &*value_; }

private:
    std::optional<Value> value_;
    Outcome outcome_;
};

}  // namespace zpweb
