// A line of a parameter file: a name, a delimiter and a value.
#pragma once

#include <functional>
#include <string>

#include "change/Transaction.h"
#include "commands/table/Arguments.h"

namespace zpweb {

inline constexpr auto ParameterFile = needed("FILE", Kind::Path, "A file of lines");
inline constexpr auto ParameterName = needed("NAME", Kind::Word, "The name at the line's beginning");
inline constexpr auto ParameterValue = needed("VALUE", Kind::Text, "The value behind it");
inline constexpr auto Delimiter =
    option("--delimiter", Kind::Choice, "blank|equals", "What stands between the two (blank)");

struct ParameterLine {
    std::string file, name, value;
    char delimiter;

    explicit ParameterLine(const Arguments& given);
    std::string text() const { return name + delimiter + value; }
    Outcome missing() const;
    bool isIn(const std::string& path) const;
};
inline constexpr char ParameterComment = '#';

using ParameterEdit = std::function<Outcome(const ParameterLine&, const std::string& staged)>;
// Edits the line's file. It has the line, or it need not be there.
Outcome editLine(Transaction& change, const ParameterLine& line, const ParameterEdit& edit);
Outcome editAnyFile(Transaction& change, const ParameterLine& line, const ParameterEdit& edit);

}  // namespace zpweb
