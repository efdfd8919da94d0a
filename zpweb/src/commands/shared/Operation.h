// What operations of the library take, and what their results mean.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "output/Output.h"
#include "sys/Outcome.h"
#include "sys/Process.h"

namespace zpweb {

// The most characters of a line that operations read. Where an operation calls others, theirs count too.
namespace bound {
inline constexpr size_t Creation = 1022;
inline constexpr size_t Deletion = 1022;
inline constexpr size_t StartStop = 29999;
inline constexpr size_t Merge = 1023;  // update, suspension
inline constexpr size_t Addressing = 1023;
inline constexpr size_t Directive = 2024;  // get, update and delete; <Directory> blocks
inline constexpr size_t AddDirective = 1023;
inline constexpr size_t Handler = 2046;  // Perl, open_basedir
inline constexpr size_t SuPhp = 2024;
inline constexpr size_t SuPhpGlobal = 1023;
inline constexpr size_t Limits = 2999;
inline constexpr size_t Port = 2999;
inline constexpr size_t ModuleBlock = 2047;
inline constexpr size_t Module = 1023;
inline constexpr size_t Parameter = 2999;
inline constexpr size_t Any = static_cast<size_t>(-1);
}  // namespace bound

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

template <size_t Size>
void fillField(char (&field)[Size], const std::string& value) {
    field[value.copy(field, Size - 1)] = '\0';
}

}  // namespace zpweb
