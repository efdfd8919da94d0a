// Websites of a test case.
#pragma once

#include <CZPWebsite.h>

#include <string>

namespace zp::test {

struct Site {
    std::string domain = "example.com";
    std::string address = "10.0.0.5";  // as the block's opening line has it
    std::string parent = "/var/www/";
    std::string administrator = "siteadmin";
    std::string asciiDomain = "";  // empty: the same as the domain
    std::string extra = "";        // whole lines, written behind ServerAlias
};

// The site's block as website creation writes it, with the empty line before it.
std::string blockOf(const Site& site);

// A request to create the site at this address (IPv6 without brackets).
VHostEntry requestFor(const Site& site, char ipSwitch, const std::string& user = "siteowner");

// The accounts that `requestFor` names and the panel's group: siteowner 2001:2002, siteadmin 2003:2004,
// zp7group 2005.
void addSiteAccounts();

}  // namespace zp::test
