// The longest line, in characters, that each operation reads: a longer one ends the file for it. Whoever
// checks a file before an operation checks it against the same number.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>

namespace zp::conf::bound {

inline constexpr size_t None = std::numeric_limits<size_t>::max();

inline constexpr size_t Creation = 1022;
inline constexpr size_t Deletion = 1022;
inline constexpr size_t Lookup = 1022;  // names of a file, a site's presence, its document root
inline constexpr size_t PanelPort = 1022;
inline constexpr size_t SiteStatus = 1023;
inline constexpr size_t SiteInfo = 2999;
inline constexpr size_t SiteSwitch = 29999;  // start and stop
inline constexpr size_t Merge = 1023;        // update, suspension, resumption
inline constexpr size_t Addressing = 1023;
inline constexpr size_t HostingLimits = 2999;
inline constexpr size_t Parameter = 2999;

// ApacheHelper.
inline constexpr size_t Directive = 2024;     // read, replaced, deleted; <Directory> blocks
inline constexpr size_t AddDirective = 1023;  // in a block, or at server level
inline constexpr size_t DirectiveExists = 2999;
inline constexpr size_t Port = 2999;
inline constexpr size_t ModuleInSite = 4999;
inline constexpr size_t ModuleBlock = 2047;
inline constexpr size_t ServerLevel = 1023;
// A line of more characters than this inside a <VirtualHost> block ends a scan at server level; so it has
// always been, and callers rely on the answer "not found" behind such a line.
inline constexpr size_t SkippedBlock = 118;

inline constexpr size_t SiteDirectory = 2046;         // Perl, open_basedir
inline constexpr size_t SuPhpOnServer = ServerLevel;  // its start for the whole server

// Settings of the host.
inline constexpr size_t ProductSetting = 118;
inline constexpr size_t ProcessId = 118;
inline constexpr size_t ServerRoot = 2998;

// Operations that call others read no further than these do.
inline constexpr size_t Perl = std::min(SiteDirectory, Directive);
inline constexpr size_t HostHeader = Directive;
inline constexpr size_t SuPhp = Directive;
inline constexpr size_t MoveToShared = std::min({Addressing, ModuleInSite, AddDirective});

}  // namespace zp::conf::bound
