// What visitors get: the names of sites, asked for on each listener before and after a reload.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "server/Reading.h"
#include "server/Request.h"

namespace zpweb {

struct SiteAnswer {
    std::string name, listener;
    int status = 0;  // 0: none
};

class Answers {
public:
    // Asks for the names of the sites (their ServerNames) wherever a block of theirs answers, in plain HTTP
    // or TLS and behind a PROXY line, as the reading says. Addresses that are not this host's give no
    // answer.
    static Answers to(const std::set<std::string>& sites, const Reading& reading);

    // Answers that got worse: good before, and now 403, 404, an error of the server's or none. Of a site
    // that was not there before: refused or broken. A sentence each, with the likely reason.
    std::vector<std::string> worseThan(const Answers& before) const;

private:
    std::vector<SiteAnswer> all_;
};

}  // namespace zpweb
