// The line that opens a <Directory> block.
#pragma once

#include <string>
#include <string_view>

#include "conf/Line.h"

namespace zp::conf {

// The directory that the line names. Not closed: its quote has no partner. Without quotes the ">" belongs
// to the name.
inline Value directoryOf(const Line& opening) {
    return leadingValue(opening.argumentOf(keyword::Directory));
}

inline std::string openingLine(std::string_view directory) {
    return "\t<Directory \"" + std::string(directory) + "\">";
}

// A longer keyword, as <DirectoryMatch has: its argument is a pattern and no directory.
inline bool opensLongerTag(const Line& line) {
    const std::string_view behind = stepOver(line.text(), keyword::Directory.size());
    return line.begins(keyword::Directory) && !behind.empty() && isLetter(behind.front());
}

}  // namespace zp::conf
