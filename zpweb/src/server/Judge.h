// Judges a change by two readings of the server: of the configuration as it is live, and as it is staged.
#pragma once

#include <compare>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "server/Reading.h"
#include "sys/Outcome.h"

namespace zpweb {

// A name that led to a site on a listener.
struct Led {
    std::string site, name, listener;

    auto operator<=>(const Led&) const = default;  // NOLINT(modernize-use-nullptr)
};

// What a change is asked to touch. Names are in lower case.
struct Asked {
    bool everything = false;                            // the scope is not limited
    std::set<std::string> sites{};                      // their blocks may differ
    std::set<std::string> whole{};                      // of these, in all their blocks
    std::set<std::string> relocated{};                  // of these, say the same in another place
    std::set<std::pair<std::string, size_t>> blocks{};  // live ones without a name, by file and line
    // Of these sites' blocks, directives of these names alone: "alias", "directory /srv/a"; "*": all.
    std::map<std::string, std::set<std::string>> within{};
    std::set<std::string> serverDirectives{};   // those that may differ outside of blocks
    bool answersMayChange = false;              // what visitors get is meant to change
    bool anyName = false;                       // any name may lead elsewhere
    std::set<std::string> names{};              // these may
    std::set<std::string> moving{};             // and all names of these sites
    std::function<std::set<Led>()> released{};  // earlier changes' (see below): these may go back
};

// What must hold in the staged reading for the command's word "done" to be true.
using Postcondition = std::function<Outcome(const Reading& staged)>;

// A name that led to one block and leads elsewhere now.
struct Moved {
    std::string name, listener, from, to;
    std::string site;  // to which it leads; empty: none
    bool asked = false;
};

struct Judgement {
    Outcome outcome;
    std::vector<Moved> impact;       // asked for or not
    std::vector<std::string> notes;  // what is allowed and worth telling
    // Names that led to a site that the change is about, and lead to another's block now that has them.
    // That is no impact, but that they go back with the change's inverse would be one.
    std::set<Led> released;
};

// Which host of one reading is which of the other: entries of the other's hosts, or None.
struct Pairing {
    static constexpr uint32_t None = UINT32_MAX;
    std::vector<uint32_t> stagedOf, liveOf;
};
// The entry of a host of the reading.
using HostNumber = uint32_t;
inline HostNumber numberOf(const Reading& reading, const VirtualHost* host) {
    return host == nullptr ? Pairing::None : static_cast<HostNumber>(host - reading.hosts().data());
}

Pairing pairingOf(const Reading& live, const Reading& staged, const Asked& asked);

// The first place that differs though nobody asked for it; empty when there is none.
std::string strayDifference(const Reading& live, const Reading& staged, const Pairing& pairing,
                            const Asked& asked);
// The same within the blocks of which a part alone may differ.
std::string strayWithin(const Reading& live, const Reading& staged, const Pairing& pairing,
                        const Asked& asked);
// The same of the sites that go to another place: what they say may depend on it (Define, Macro).
std::string lossOfRelocated(const Reading& live, const Reading& staged, const Pairing& pairing,
                            const Asked& asked);
// Why a change of all of a site is one of a part: a macro makes the rest.
std::string beyondText(const Reading& live, const Reading& staged, const Pairing& pairing,
                       const Asked& asked);
std::vector<Moved> impactOf(const Reading& live, const Reading& staged, const Pairing& pairing,
                            const Asked& asked);

// Scope, postconditions, impact, in this order. Without a live reading (null) there is nothing to compare
// with: the postconditions alone are looked at.
Judgement judge(const Reading* live, const Reading& staged, const Asked& asked,
                const std::vector<Postcondition>& postconditions, bool allowImpact);

}  // namespace zpweb
