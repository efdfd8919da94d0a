// What operations of the library take, and what their results mean.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "conf/Bounds.h"
#include "host/Fields.h"
#include "output/Output.h"
#include "sys/Outcome.h"
#include "sys/Process.h"

namespace zpweb {

// The longest line of each operation: the very number that it reads with.
namespace bound = zp::conf::bound;

// Done for the good results, otherwise an error that names the operation and tells what is known.
Outcome resultOf(const std::string& operation, int result, const std::vector<int>& good);

// The meaning of an operation's results: the good ones, and those that are known for one reason.
using Meaning = std::function<Outcome(int)>;
Meaning expecting(std::string operation, std::vector<int> good);
Meaning expecting(std::string operation, std::vector<int> good, int known, Outcome reason);

// Runs something of the library that prints; what it prints goes to the details.
template <class Call>
auto quietly(Output& output, Call&& call) {
    Capture capture;
    auto result = std::forward<Call>(call)();
    output.detail(capture.end());
    return result;
}

using zp::host::setField;

}  // namespace zpweb
