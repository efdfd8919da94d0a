#include "support/Sites.h"

#include <cstdio>

#include "support/Files.h"
#include "support/Sandbox.h"

namespace zp::test {

namespace {

template <size_t Size>
void fill(char (&field)[Size], const std::string& text) {
    std::snprintf(field, Size, "%s", text.c_str());
}

std::string asciiDomainOf(const Site& site) {
    return site.asciiDomain.empty() ? site.domain : site.asciiDomain;
}

}  // namespace

std::string blockOf(const Site& site) {
    const std::string home = site.parent + site.domain;
    const std::string ascii = asciiDomainOf(site);
    const std::string alias = (ascii == site.domain ? "" : ascii + " ") + "www." + ascii;
    return lines({"", "<VirtualHost " + site.address + ">", "\tServerName " + site.domain,
                  "\tServerAdmin " + site.administrator + "@" + ascii,
                  "\tDocumentRoot \"" + home + "/www/html\"", "\tServerAlias " + alias}) +
           site.extra +
           lines({"\tErrorLog " + home + "/log/httpd/error_log",
                  "\tCustomLog " + home + "/log/httpd/access_log combined",
                  "\t<Directory \"" + home + "\">", "\t\tAllowOverride All", "\t</Directory>",
                  "\t<Directory \"" + home + "/www\">", "\t</Directory>", "</VirtualHost>"});
}

VHostEntry requestFor(const Site& site, char ipSwitch, const std::string& user) {
    VHostEntry entry{};
    fill(entry.IPAddress, site.address);
    fill(entry.DName, site.domain);
    fill(entry.PunyCode, asciiDomainOf(site));
    fill(entry.UserName, user);
    fill(entry.ServerAdmin, site.administrator);
    fill(entry.Port, "8080");
    fill(entry.Path, site.parent);
    fill(entry.AdminPasswd, "secret");
    entry.IPSwitch = ipSwitch;
    return entry;
}

void addSiteAccounts() {
    addAccount("siteowner", 2001, 2002);
    addAccount("siteadmin", 2003, 2004);
    addGroup("zp7group", 2005);
}

}  // namespace zp::test
