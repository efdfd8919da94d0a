#include "CZPWebsite.h"
#include "conf/Address.h"
#include "conf/Rewrite.h"
#include "host/Fields.h"
#include "host/Paths.h"

using zp::host::fieldText;

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
void CZPWebsite::WriteWebsiteEntry(const VHostEntry* objVHost, const std::string& address,
                                   zp::conf::Rewrite& rewrite) {
    const std::string domain = fieldText(objVHost->DName);
    const std::string asciiDomain = fieldText(objVHost->PunyCode);
    const std::string home = fieldText(objVHost->Path) + domain;
    const std::string alias = asciiDomain == domain ? "www." + domain : asciiDomain + " www." + asciiDomain;

    rewrite.write("");
    rewrite.write("<VirtualHost " + address + ">");
    rewrite.write("\tServerName " + domain);
    rewrite.write("\tServerAdmin " + fieldText(objVHost->ServerAdmin) + "@" + asciiDomain);
    rewrite.write("\tDocumentRoot \"" + home + "/www/html\"");
    rewrite.write("\tServerAlias " + alias);
    rewrite.write("\tErrorLog " + home + "/log/httpd/error_log");
    rewrite.write("\tCustomLog " + home + "/log/httpd/access_log combined");
    rewrite.write("\t<Directory \"" + home + "\">");
    if (qualifiesForLimits() && ISCloudLinux()) {
        const long highest = ExtractHighestLVEid(zp::host::textOf(HttpdConfFile));
        if (highest != 0) {
            rewrite.write("\t\tLVEId " + std::to_string(highest + 1));
        }
    }
    rewrite.write("\t\tAllowOverride All");
    rewrite.write("\t</Directory>");
    rewrite.write("\t<Directory \"" + home + "/www\">");
    rewrite.write("\t</Directory>");
    rewrite.write("</VirtualHost>");
}
