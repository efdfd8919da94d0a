#include "CZPWebsite.h"
#include "host/Fields.h"
#include "host/Paths.h"
#include "host/SiteDirectories.h"

using zp::host::fieldText;
namespace site = zp::host::site;

namespace {

std::string productSetting(const char* key) {
    std::string value;
    getParamFromZPConfFile(zp::host::path::ProductConfiguration, value, key);
    return value;
}

// Limits apply where PHP runs inside the server, or through FastCGI without suEXEC.
bool qualifiesForLimits() {
    const std::string handler = productSetting("PHPHandler");
    return handler == "dso" || (handler == "fcgid" && productSetting("SUexecSetting") == "disabled");
}

}  // namespace

// Other operations find the site's lines by this order and form: the ServerName line comes first.
StringVector CZPWebsite::WriteWebsiteEntry(const VHostEntry* objVHost, const std::string& address) {
    const std::string domain = fieldText(objVHost->DName);
    const std::string asciiDomain = fieldText(objVHost->PunyCode);
    const std::string home = fieldText(objVHost->Path) + domain;
    const std::string alias = asciiDomain == domain ? "www." + domain : asciiDomain + " www." + asciiDomain;
    StringVector lines{"",
                       "<VirtualHost " + address + ">",
                       "\tServerName " + domain,
                       "\tServerAdmin " + fieldText(objVHost->ServerAdmin) + "@" + asciiDomain,
                       "\tDocumentRoot \"" + home + site::Html + "\"",
                       "\tServerAlias " + alias,
                       "\tErrorLog " + home + site::ErrorLog,
                       "\tCustomLog " + home + site::AccessLog + " combined",
                       "\t<Directory \"" + home + "\">"};
    if (qualifiesForLimits() && ISCloudLinux()) {
        const long highest = ExtractHighestLVEid(zp::host::textOf(HttpdConfFile));
        if (highest != 0) {
            lines.push_back("\t\tLVEId " + std::to_string(highest + 1));
        }
    }
    for (const std::string& line : {std::string("\t\tAllowOverride All"), std::string("\t</Directory>"),
                                    "\t<Directory \"" + home + site::Content + "\">",
                                    std::string("\t</Directory>"), std::string("</VirtualHost>")}) {
        lines.push_back(line);
    }
    return lines;
}
