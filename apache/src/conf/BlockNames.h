// The server names of a file's <VirtualHost> blocks.
#pragma once

#include <optional>
#include <string_view>

#include "conf/Line.h"

namespace zp::conf {

// Takes the lines of a file in order. A block is named by its first ServerName line.
class BlockNames {
public:
    // The name that this line gives to its block. A bare ServerName gives none, and no later one does.
    std::optional<std::string_view> nameOn(const Line& line) {
        if (line.begins(keyword::VirtualHost)) {
            inUnnamedBlock_ = true;
        } else if (inUnnamedBlock_ && line.begins(keyword::ServerName)) {
            inUnnamedBlock_ = false;
            const std::string_view name = line.argumentOf(keyword::ServerName);
            return name.empty() ? std::nullopt : std::optional(name);
        } else if (inUnnamedBlock_ && line.begins(keyword::VirtualHostEndTag)) {
            inUnnamedBlock_ = false;
        }
        return std::nullopt;
    }

    bool inUnnamedBlock() const { return inUnnamedBlock_; }

private:
    bool inUnnamedBlock_ = false;
};

}  // namespace zp::conf
