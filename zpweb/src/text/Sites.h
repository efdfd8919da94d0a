// The websites of one configuration file, found by one pass over its lines.
//
// A site is a <VirtualHost> block that has a ServerName. A block whose opening line is commented out is a
// stopped site: its lines are looked at behind their comment marks. In a live block comments are comments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "text/Lines.h"

namespace zpweb {

struct Block {
    std::string_view text;     // with its opening and closing line
    Range lines{0, 0};         // the same by number
    size_t nameLine = 0;       // the line of its first ServerName, where it has one
    std::string_view address;  // as written: 10.0.0.5:80, [2001:db8::1], *:80
    std::string_view name;     // empty without a ServerName; as written, so a blank behind it is there
    std::string_view root;     // DocumentRoot, without quotes
    std::string_view home;     // the path of its first <Directory>
    bool stopped = false, closed = false;
};

// An "Include" or "IncludeOptional" line outside of any comment.
struct IncludeLine {
    size_t line;
    std::string_view pattern;
};

struct ServerLines {
    std::vector<IncludeLine> includes;
    std::string_view root;  // ServerRoot
    std::string_view pidFile;
    std::vector<std::string_view> listen;
    std::vector<std::string_view> listenPerhaps;  // those in <IfModule> and the like
};

struct Contents {
    std::vector<Block> blocks;
    ServerLines server;
    size_t longestLine = 0;
};
Contents contentsOf(std::string_view text);

// The directive's argument without its quotes.
std::string_view unquoted(std::string_view argument);
// A site's address without its port and brackets.
std::string bareAddress(std::string_view address);

}  // namespace zpweb
