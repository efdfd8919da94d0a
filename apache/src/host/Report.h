// What managers tell the panel's tracking object. Without such an object (null) nothing is told.
#pragma once

#include <CZPTrackManager.h>

#include <initializer_list>
#include <string>

namespace zp::host {

struct Argument {
    const char* label;
    std::string value;
};

// One call in a manager's constructor.
void reportModule(CZPTrackManager* tracking, const char* module);

// One call at the top of an operation: its name, then the values and their labels.
void report(CZPTrackManager* tracking, const char* operation, std::initializer_list<Argument> arguments);

// The label and value of an operation that has nothing to tell.
inline const Argument NoArgument{"", ""};

}  // namespace zp::host
