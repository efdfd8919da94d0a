// Lines at server level: outside every <VirtualHost> block.
#pragma once

#include "conf/LineReader.h"

namespace zp::conf {

inline constexpr size_t ServerLevelBound = 1023;
// A line of more characters than this inside a <VirtualHost> block ends the reading; so it has always been,
// and callers rely on the answer "not found" behind such a line.
inline constexpr size_t SkippedBlockBound = 118;

// The next line that is neither empty nor part of a <VirtualHost> block.
[[nodiscard]] inline bool readServerLevel(LineReader& reader, Line& line) {
    while (reader.read(line)) {
        if (line.begins(keyword::VirtualHost)) {
            if (!skipVirtualHost(reader, SkippedBlockBound)) {
                return false;
            }
        } else if (!line.isEmpty()) {
            return true;
        }
    }
    return false;
}

}  // namespace zp::conf
