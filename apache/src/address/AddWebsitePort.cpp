#include <fstream>
#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Machine.h"

namespace conf = zp::conf;
namespace result = zp::result;

namespace {

constexpr const char* PanelPort = ":8077";

struct PanelSite {
    bool present = false;
    std::string documentPath, scriptAlias;
};

std::string fromFirstSlash(std::string_view text) {
    const size_t slash = text.find('/');
    return slash == std::string_view::npos ? std::string() : std::string(text.substr(slash));
}

PanelSite findPanelSite(conf::LineReader& reader, const std::string& address) {
    PanelSite site;
    bool rootFound = false;
    bool aliasFound = false;
    for (conf::Line line; reader.read(line);) {
        if (line.isCommentInFirstColumn()) {
            continue;
        }
        if (line.begins(conf::keyword::VirtualHost) && conf::contains(line.raw(), address + PanelPort)) {
            site.present = true;
        } else if (!rootFound && line.begins(conf::keyword::DocumentRoot)) {
            rootFound = true;
            site.documentPath = fromFirstSlash(line.text());
            if (!site.documentPath.empty()) {
                site.documentPath.pop_back();  // the closing quote
            }
        } else if (!aliasFound && line.begins(conf::keyword::ScriptAlias)) {
            aliasFound = true;
            site.scriptAlias = fromFirstSlash(line.text());
        }
    }
    return site;
}

}  // namespace

char CZPWebsite::AddWebsitePort(std::ofstream& out, std::string ApchIPAddress) {
    const std::string configuration = zp::host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::panelPort::NoConfigurationPath;
    }
    conf::LineReader reader(configuration, conf::bound::PanelPort);
    if (!reader.isOpen()) {
        zp::host::out() << "Error opening HttpdConfFile file";
        return result::panelPort::ConfigurationNotOpened;
    }
    const PanelSite site = findPanelSite(reader, ApchIPAddress);
    if (reader.failed()) {
        return result::panelPort::ConfigurationNotOpened;
    }
    if (!site.present) {
        out << "\n<VirtualHost " << ApchIPAddress << PanelPort << ">\n"
            << "\tDocumentRoot \"" << site.documentPath << "/admin/\"\n"
            << "\tServerName " << ApchIPAddress << "\n"
            << "\tScriptAlias  " << site.scriptAlias << "\n"
            << "</VirtualHost>\n";
    }
    return result::panelPort::Added;
}
