#include <algorithm>
#include <ostream>

#include "CZPWebsite.h"
#include "conf/Address.h"
#include "conf/LineReader.h"
#include "host/FileSystem.h"
#include "host/Machine.h"
#include "host/Paths.h"

using zp::conf::Bracket;
using zp::conf::Line;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;

namespace {

// What the file tells on the way to the site's block, or to its end.
struct Findings {
    StringVector sharedAddresses;
    StringVector includes;
    std::string serverRoot;
    bool siteFound = false;
    std::string siteAddress;
};

void noteSharedAddress(const Line& line, Findings& findings) {
    const std::string_view value = line.restBehind(keyword::NameVirtualHost);
    if (value.starts_with('[')) {
        host::out() << "IPV6\n";
    }
    const auto [address, ended] = conf::leadingAddress(value, Bracket::Last);
    if (ended) {  // a bare IPv4 address, without a port behind it, does not count
        findings.sharedAddresses.emplace_back(address);
        host::out() << "IPEntry" << address << '\n';
    }
}

// The value without its first and last character, taken to be quotes: one that is written without quotes
// loses a character at each end, and always did.
std::string withoutQuotes(std::string_view value) {
    return std::string(value.size() < 2 ? std::string_view() : value.substr(1, value.size() - 2));
}

Findings search(conf::LineReader& reader, const std::string& domain) {
    Findings findings;
    bool inBlock = false;
    std::string opening;
    for (Line line; reader.read(line);) {
        if (line.begins(keyword::NameVirtualHost)) {
            noteSharedAddress(line, findings);
        } else if (line.begins(keyword::ServerRoot)) {
            findings.serverRoot = withoutQuotes(line.argumentOf(keyword::ServerRoot));
        } else if (!inBlock && line.begins(keyword::Include)) {
            findings.includes.emplace_back(line.restBehind(keyword::Include));
        } else if (line.beginsInExactCase(keyword::VirtualHost)) {
            opening = line.raw();
            inBlock = true;
        } else if (inBlock && line.begins(keyword::ServerName) && !domain.empty() &&
                   conf::equalIgnoringCase(line.restBehind(keyword::ServerName), domain)) {
            findings.siteFound = true;
            findings.siteAddress = conf::blockAddress(Line(opening), Bracket::Last);
            break;  // what is shared behind this place is not seen
        } else if (line.text() == keyword::VirtualHostEndTag) {
            inBlock = false;
        }
    }
    return findings;
}

// Looks for the site in the included files. False when none has it, or they cannot be told without a server
// root.
bool searchIncludes(CZPWebsite& website, const std::string& domain, Findings& findings) {
    if (findings.serverRoot.empty()) {
        findings.serverRoot = host::enterFirstOf(host::path::SharedAddressRoots);
        if (findings.serverRoot.empty()) {
            return false;
        }
    }
    for (const std::string& file : findings.includes) {
        const std::string path = file.starts_with('/') ? file : findings.serverRoot + "/" + file;
        if (host::exists(path) && !host::isDirectory(path) &&
            website.LookupDomainInConfFile(domain, path, findings.siteAddress)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string CZPWebsite::ISIPLessDomain(std::string DomainName, std::string httpdConfFile,
                                       std::string& szIPAdrr) {
    if (httpdConfFile.empty()) {
        return "false";
    }
    conf::LineReader reader(httpdConfFile, conf::bound::None);
    if (!reader.isOpen()) {
        host::out() << "Error while opening HttpdConfFile\n";
        return "false";
    }
    Findings findings = search(reader, DomainName);
    if (!findings.siteFound && !searchIncludes(*this, DomainName, findings)) {
        return "false";
    }
    szIPAdrr = findings.siteAddress;
    const auto& shared = findings.sharedAddresses;
    return std::find(shared.begin(), shared.end(), szIPAdrr) != shared.end() ? "true" : "false";
}
