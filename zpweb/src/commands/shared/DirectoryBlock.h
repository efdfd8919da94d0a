// The <Directory> block of a site's directory: its settings, and the edit of it.
#pragma once

#include <array>
#include <string>

#include "CZPVirtualDirectory.h"
#include "change/Transaction.h"
#include "commands/shared/BlockEdit.h"
#include "commands/table/Arguments.h"
#include "commands/table/Site.h"

namespace zpweb {

inline constexpr auto Directory = needed("FOLDER", Kind::Path, "The directory that the block is for");
inline constexpr auto Switches =
    options("--option", Kind::Switch, "+NAME|-NAME", "Switch an option on or off");
inline constexpr auto Order = flag("--order", "Open the directory by an order of allow and deny");
inline constexpr auto Allow = option("--allow", Kind::Text, "HOSTS", "The hosts that may see it");
inline constexpr auto Deny = option("--deny", Kind::Text, "HOSTS", "The hosts that may not");
inline constexpr auto Protect = flag("--protect", "Put it behind a password");
inline constexpr auto Perl = flag("--perl", "Run its Perl scripts (set only)");
inline constexpr auto TakeOver =
    flag("--take-over", "Give the directory the owner and the modes of the site's home");
inline constexpr auto Rails = flag("--rails", "Run it as a Rails application (set only)");

// The parameters of the commands that make or change a block.
inline std::vector<Parameter> blockSettings() {
    return {SiteName, Directory, Switches, Order, Allow, Deny, Protect, Perl, Rails, TakeOver, OnPort};
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

// What the call asks for, for one of the site's blocks. Who may see the directory is told in Require terms
// beside what the library writes, unless the result is to be the library's own.
SDDir directoryRecord(const Arguments& given, const Block& block, bool withAccess);
// The result with those terms in the directory's section, beside options that the section has kept.
std::string withAccess(std::string_view made, const Arguments& given, const std::string& site,
                       const std::vector<Statement>& present);
// What must hold of the directory afterwards. An error for what cannot hold: users that the server could
// not look up, an .htaccess file that says otherwise.
Outcome expectAsAsked(Transaction& change, const Site& site, const Arguments& given);
// Is it one of the lines that the call is about?
bool isNamed(const Arguments& given, const Statement& statement);
// The statements of the directory's section in the block.
std::vector<Statement> sectionOf(const Statements& statements, const std::string& directory);

}  // namespace zpweb
