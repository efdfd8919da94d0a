// What an operation has changed in a view, laid over the lines that the view shows.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "text/Fates.h"
#include "text/Replacements.h"
#include "text/View.h"

namespace zpweb {

class LayBack {
public:
    LayBack(const View& view, std::string_view result);
    std::string text();

private:
    void lay(size_t made);
    void removeShown(size_t shown);
    void change(size_t shown, const std::string& to);
    void changeAddress(const std::string& to);
    void changeNames(const ViewLine& line, const std::string& to);
    void changeWords(const ViewLine& line, const std::string& to);
    void removeEmptySections();
    void removeStatement(const Statement& statement);
    void takeAway(const Statement& statement, const std::vector<std::string>& names);

    // Where new lines go, and what they look like.
    void add(size_t made, const std::string& line, size_t depth);
    void addBehind(size_t statement, const std::string& line);
    void insertLine(const char* at, const std::string& line);
    size_t neighbour(size_t made, int step) const;
    const char* placeFor(size_t made) const;
    const char* behind(size_t statement) const;
    bool isAround(size_t section) const;
    size_t outermost(size_t statement) const;
    size_t outside(size_t statement) const;
    std::string indentation(size_t made, size_t depth) const;
    std::string insideOf(size_t closing) const;
    std::string childIndentation() const;
    std::string unit() const;

    const View& view_;
    const Statements& statements_;
    const std::vector<ViewLine>& shown_;
    std::vector<std::string> made_;
    std::vector<size_t> depths_;  // of the result's lines: how many sections they stand in
    Fates fates_;
    Replacements replacements_;
    std::vector<std::string> held_;  // a provided section, for as long as nothing was put into it
    bool holds_ = false, filled_ = false;
};

}  // namespace zpweb
