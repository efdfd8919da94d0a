// Lines at server level: outside every <VirtualHost> block.
#pragma once

#include "conf/LineReader.h"

namespace zp::conf {

// The next line that is neither empty nor part of a <VirtualHost> block.
[[nodiscard]] inline bool readServerLevel(LineReader& reader, Line& line) {
    while (reader.read(line)) {
        if (line.begins(keyword::VirtualHost)) {
            if (!skipVirtualHost(reader, bound::SkippedBlock)) {
                return false;
            }
        } else if (!line.isEmpty()) {
            return true;
        }
    }
    return false;
}

}  // namespace zp::conf
