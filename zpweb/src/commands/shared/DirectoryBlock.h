// The <Directory> block of a site's directory: its settings, and the edit of it.
#pragma once

#include <array>
#include <string>

#include "CZPVirtualDirectory.h"
#include "change/Transaction.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"

namespace zpweb {

inline constexpr auto Folder = needed("FOLDER", Kind::Path, "The folder that the block is for");
inline constexpr auto Switches =
    options("--option", Kind::Switch, "+NAME|-NAME", "Switch an option on or off");
inline constexpr auto Order = flag("--order", "Open the folder by an order of allow and deny");
inline constexpr auto Allow = option("--allow", Kind::Text, "HOSTS", "The hosts that may see it");
inline constexpr auto Deny = option("--deny", Kind::Text, "HOSTS", "The hosts that may not");
inline constexpr auto Protect = flag("--protect", "Put it behind a password");
inline constexpr auto Perl = flag("--perl", "Run its Perl scripts (set only)");
inline constexpr auto Rails = flag("--rails", "Run it as a Rails application (set only)");

// The parameters of the commands that make or change a block.
inline std::vector<Parameter> blockSettings() {
    return {SiteName, Folder, Switches, Order, Allow, Deny, Protect, Perl, Rails};
}

// The options of a directory, by their names.
struct DirectoryOption {
    std::string_view name;
    char SOptions::*state;  // '+', '-' or nothing
};
inline constexpr std::array<DirectoryOption, 5> DirectoryOptions = {
    {{"Indexes", &SOptions::Indexes},
     {"Includes", &SOptions::Includes},
     {"FollowSymLinks", &SOptions::FollowSymLinks},
     {"MultiViews", &SOptions::MultiViews},
     {"ExecCGI", &SOptions::ExecCGI}}};

// The block that the call asks for; a usage failure when its options do not go together.
Outcome fitTogether(const Arguments& given);
SDDir directoryRecord(const Arguments& given, const Place& place);

// An edit of the directory's sections in the site's blocks.
Edit directoryEdit(const Place& place, const std::string& folder);

}  // namespace zpweb
