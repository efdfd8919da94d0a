// The block of a new site: as the library writes it, fitted to the server that it is for.
#pragma once

#include <string>
#include <string_view>

namespace zpweb {

struct NewBlock {
    std::string address;  // of its opening line: *:80, 192.0.2.7:80, [2001:db8::7]:80; empty: as it is
    std::string logs;     // the directory of its logs; empty: as they are
    bool grants = false;  // "Require all granted" for its document root
    bool alias = true;    // it answers to its name with "www." before it, too
};

// `text` is the block's; what else stands in it stays.
std::string fitted(std::string_view text, const NewBlock& wanted);

}  // namespace zpweb
