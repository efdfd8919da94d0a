// The <Directory> block of a virtual directory: what creation and update write, and the query reads back.
#pragma once

#include <future>
#include <string>
#include <string_view>

#include "CZPVirtualDirectory.h"
#include "conf/Rewrite.h"

namespace zp {

struct OptionWord {
    std::string_view name;
    char SOptions::*setting;
};

// In the order in which they are written; the record has another.
inline constexpr OptionWord OptionWords[] = {{"Indexes", &SOptions::Indexes},
                                             {"Includes", &SOptions::Includes},
                                             {"ExecCGI", &SOptions::ExecCGI},
                                             {"MultiViews", &SOptions::MultiViews},
                                             {"FollowSymLinks", &SOptions::FollowSymLinks}};

// What creation and update decide each in a way of its own.
struct VirtualDirectoryBlock {
    std::string directory;
    bool runsPerl = false;
    bool authenticates = false;
    std::string passwordFile;
    bool runsRails = false;
};

// Does the installed web server (2.4 and later) know "Require" instead of "Order", "Allow" and "Deny"?
// Asked on the side, since the server's program takes as long to answer as some ten thousand sites to copy.
// Prints the version, so whoever asks waits for the answer, needed or not.
std::shared_future<bool> serverKnowsRequire();

// Writes the block; host rules and options are the record's.
void writeBlock(conf::Rewrite& rewrite, const SDDir& record, const VirtualDirectoryBlock& block,
                bool withRequire);

}  // namespace zp
