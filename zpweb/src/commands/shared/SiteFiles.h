// The files of sites, where the server keeps each in a file of its own.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "change/Transaction.h"
#include "commands/table/Site.h"
#include "server/Layout.h"

namespace zpweb {

// A site in a file that no link lets the server read.
struct DisabledSite {
    std::string name, file;
    size_t line;          // of its name, from 1
    std::string address;  // of the block
};

// What counts in the text of a file that the server does not read.
Surroundings surroundingsOf(const Configuration& configuration, std::string_view unread);
std::vector<DisabledSite> disabledSites(const Configuration& configuration);
// Those of the name. Of many that are asked for in one run, the first look tells of all files.
std::vector<DisabledSite> disabledSites(const Configuration& configuration, const std::string& name);

// The links to a file as the change has them so far.
std::vector<std::string> linksTo(const Transaction& change, const Layout& layout, const std::string& file);

// Refused unless the site stands in files of its own, each with a link to it.
Outcome hasOwnFiles(const Transaction& change, const Site& site, const Layout& layout);

// The change may differ in what the text says outside of blocks: its file comes or goes with the site.
void askForServerLines(Transaction& change, std::string_view text);

// A block as it stands, and the text, which begins its file or does not, without it and without one of the
// blank lines around it.
std::string takeOut(std::string& text, std::string_view block, bool beginsFile);

// Has a file that a site has left nothing more to say? Comments, empty conditions and the Listen lines of
// ports that no block uses count for nothing.
bool isLeftover(const Configuration& configuration, std::string_view text);
// Lets such a file go, with the links to it. The main file, and one that the layout does not keep, stay.
Outcome removeLeftover(Transaction& change, const std::string& file);

}  // namespace zpweb
