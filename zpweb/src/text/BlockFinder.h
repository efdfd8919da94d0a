// Finds the blocks of a text, line by line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "text/Conditions.h"
#include "text/Sites.h"
#include "text/Values.h"

namespace zpweb {

// The place of a line: its number, and where its text begins behind white space. The text goes on to the
// end of the file.
struct LineStart {
    size_t number;
    std::string_view raw, text;
};

// A block that is being read.
class BlockReader {
public:
    BlockReader(LineStart opening, std::string_view tag, bool stopped, Values& values,
                std::vector<ConditionalLine>& conditionalLines);

    void take(std::string_view text, size_t line);
    // It ends before this place. Without a name it has the one of a file that it includes.
    Block ended(const char* end, size_t line);

private:
    bool takeCondition(std::string_view text, size_t line);
    void note(std::string_view text, size_t line, bool included);
    void takeServerName(std::string_view arguments, size_t line);
    void takeAliases(std::string_view arguments);
    void takeInclude(std::string_view arguments);

    Values& values_;
    std::vector<ConditionalLine>& conditionalLines_;
    Conditions conditions_;
    Block block_;
    std::string aliases_;                     // of several lines
    std::vector<std::string_view> included_;  // as long as it has no name
    bool includesUndecided_ = false;          // one of these stands in a condition
};

class BlockFinder {
public:
    BlockFinder(Contents& contents, Values values) : contents_(contents), values_(values) {}

    bool inBlock() const { return live_.has_value(); }
    bool inComment() const { return commented_.has_value(); }
    // A line that begins with a letter or "<", and is not continued from the line before.
    void take(const LineStart& line);
    void takeComment(const LineStart& line);
    // A line that is no comment ends what may have been a block in comments.
    void leaveComment() { commented_.reset(); }
    void takeSection(const LineStart& line);
    void end(const char* end, size_t line);
    Values& values() { return values_; }
    bool inCondition() const { return !sections_.empty(); }
    bool inMacro() const { return macros_ > 0; }

private:
    void takeWithinComment(std::string_view text, size_t line);
    void finish(const char* end, size_t line, bool closed);

    Contents& contents_;
    Values values_;
    std::optional<BlockReader> live_, commented_;
    bool inPerl_ = false;                     // within the commented one
    std::vector<std::string_view> sections_;  // open ones around blocks, by their names
    int macros_ = 0;
    std::string_view macro_;  // the words of the last macro's tag
};

}  // namespace zpweb
