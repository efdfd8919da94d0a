// How a step ended.
#pragma once

#include <optional>
#include <string>
#include <utility>

namespace zpweb {

// The exit statuses of the program.
enum class Status {
    Done = 0,  // also "already so"
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
    std::string message;  // one line or more, without a newline at the end; empty when all is said

    bool ok() const { return status == Status::Done; }
};

inline Outcome done() { return {}; }
inline Outcome failure(std::string message) { return {Status::Error, std::move(message)}; }
inline Outcome failure(Status status, std::string message) { return {status, std::move(message)}; }

// A value, or the reason why there is none.
template <class Value>
class [[nodiscard]] Expected {
public:
    Expected(Value value) : value_(std::move(value)) {}          // NOLINT(google-explicit-constructor)
    Expected(Outcome outcome) : outcome_(std::move(outcome)) {}  // NOLINT(google-explicit-constructor)

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
