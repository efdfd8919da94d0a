// The virtual hosts of one configuration file, found by one pass over its lines.
//
// A block is live, or it was commented out as a whole: each of its lines from the opening to the closing
// one stands behind a comment mark, none of them is prose, and it has a name that the server would accept.
// In a live block comments are comments. What stands in <Macro> is a template of blocks, not a block.
#pragma once

#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "text/Lines.h"

namespace zpweb {

struct Block {
    std::string_view text;       // with its opening and closing line
    Range lines{0, 0};           // the same by number
    size_t nameLine = 0;         // the line of the ServerName that counts; without one, the opening line
    std::string_view address;    // the first one, as written: 10.0.0.5:80, [2001:db8::1], *:80
    std::string_view addresses;  // all of them
    std::string_view name;     // of its server, without scheme, port and quotes; empty without a ServerName
    std::string_view root;     // DocumentRoot, without quotes
    std::string_view home;     // the path of its first <Directory>
    std::string_view aliases;  // the words of its ServerAlias lines
    std::string_view macro;    // of a template: the words of its <Macro> tag
    bool stopped = false, closed = false;
    bool namedElsewhere = false;  // a file that it includes has its ServerName
    bool tls = false;             // has "SSLEngine on"
    // Whether that counts, or an "SSLEngine off" does, depends on a condition, and nobody has told.
    bool tlsUndecided = false;
    bool suspended = false;    // includes the page that answers for a suspended site
    bool conditional = false;  // stands in <IfModule>, <IfDefine> or the like
    // Whether the name counts depends on a condition within the block, and nobody has told.
    bool undecided = false;
    std::vector<size_t> unmet{};  // where conditions within begin that are not met, by lines of the block
};

// An "Include" or "IncludeOptional" line outside of any comment.
struct IncludeLine {
    size_t line;
    std::string_view pattern;
    bool optional;
};

// A use of a macro, outside of any.
struct MacroUse {
    size_t line;
    std::string_view words;  // the macro's name and its arguments
};

// A "Define" line, within blocks, too.
struct DefineLine {
    size_t line;
    std::string_view words;  // the name and its value
};

struct ServerLines {
    std::vector<IncludeLine> includes;
    std::vector<DefineLine> defines;
    std::vector<MacroUse> uses;
    std::string_view root;  // ServerRoot
    std::string_view pidFile;
    std::vector<std::string_view> listen;
    std::vector<std::string_view> listenPerhaps;  // those in <IfModule> and the like
    std::vector<std::string_view> modules;        // of LoadModule lines
    std::vector<size_t> handlers;  // lines outside of the blocks of sites that say what runs files
};

// What "Define" lines say, by their names.
using Defines = std::map<std::string, std::string, std::less<>>;

// Which conditions within blocks are met.
using ConditionsMet = std::map<std::string, bool, std::less<>>;

// What other texts say that counts in one.
struct Surroundings {
    Defines defines;        // of the lines before; those of the text join them
    Defines includedNames;  // the ServerName of an included file, by the pattern of the Include line
    std::set<std::string, std::less<>> namesSought;  // patterns that blocks without a name include
    ConditionsMet met;                               // as far as it is known
};

// A name, a root or the switch for TLS that stands in a condition within a block, or a line that includes a
// file in which one may stand.
struct ConditionalLine {
    std::string condition;  // see Conditions
    size_t block;           // the line that opens the block
    Range lines;
    bool stopped, included;
};

struct Contents {
    std::vector<Block> blocks;     // in the order of their lines
    std::vector<Block> templates;  // those in macros
    ServerLines server;
    std::vector<const char*> sectionEnds;  // behind each section outside of blocks that stands in no other
    std::vector<ConditionalLine> conditionalLines;
    size_t longestLine = 0;
    std::deque<std::string> texts;  // what some of the views are views of
};
Contents contentsOf(std::string_view text, Surroundings& around);
Contents contentsOf(std::string_view text);

// The names of its variables: "${NAME}".
std::vector<std::string> variablesIn(std::string_view text);
// The text with each "${NAME}" that is defined replaced; the others stay.
std::string resolved(std::string_view text, const Defines& defines);
// The words of the block's ServerAlias lines, without their quotes.
std::vector<std::string> aliasesOf(const Block& block);
// The host in a ServerName's argument: without scheme and port.
std::string_view hostOf(std::string_view name);
// Is it a name that a server can have?
bool isServerName(std::string_view name);
// Why no request can have such a name; empty when one can.
std::string_view unaskable(std::string_view name);

// The directive's argument without its quotes.
std::string_view unquoted(std::string_view argument);
// A site's address without its port and brackets.
std::string bareAddress(std::string_view address);
// The port of an address as written; empty when it has none.
std::string_view portOf(std::string_view address);

}  // namespace zpweb
