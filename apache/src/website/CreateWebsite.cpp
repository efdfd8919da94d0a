// Creation of a website: its block goes into the configuration, its directories are made.
#include <functional>
#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Address.h"
#include "conf/Rewrite.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Paths.h"
#include "host/Report.h"
#include "host/SiteDirectories.h"

using zp::conf::Line;
using zp::conf::Rewrite;
using zp::host::fieldText;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// Once a site of this process has needed the port, every later IPv4 block carries it. Nothing clears this:
// the panel's processes rely on it.
char IsPortEnabled = 0;

enum class Mode { Append, NameBased, IPBased, Other };

Mode modeOf(char ipSwitch) {
    switch (ipSwitch) {
        case '0':
            return Mode::Append;
        case '1':
            return Mode::NameBased;
        case '2':
            return Mode::IPBased;
        default:
            return Mode::Other;
    }
}

struct Request {
    std::string address, asciiDomain, port = "80";
    Mode mode;

    explicit Request(const VHostEntry& entry)
        : address(fieldText(entry.IPAddress)),
          asciiDomain(fieldText(entry.PunyCode)),
          mode(modeOf(entry.IPSwitch)) {
        getParamFromZPConfFile(host::path::ProductConfiguration, port, "WebServerPort");
    }
    bool isIPv6() const { return conf::isIPv6(address); }
    std::string withPort(const std::string& anyPort) const {
        return conf::inBrackets(address) + ":" + anyPort;
    }

    // An IPv6 block carries the port by the mode of its own request, an IPv4 block by what went before.
    std::string blockAddress() const {
        const bool carriesPort = isIPv6() ? mode == Mode::NameBased : IsPortEnabled != 0;
        return carriesPort ? withPort(port) : conf::inBrackets(address);
    }
};

// How a NameVirtualHost line names the request's address.
enum class Announcement { None, WithoutPort, WithPort };

Announcement announcementOn(const Line& line, const Request& request) {
    const std::string_view value = conf::trimEnd(line.argumentOf(keyword::NameVirtualHost));
    if (conf::equalIgnoringCase(value, request.withPort(request.port)) ||
        conf::equalIgnoringCase(value, request.withPort("*"))) {
        return Announcement::WithPort;
    }
    const bool isBare = !request.isIPv6() && conf::equalIgnoringCase(value, request.address);
    return isBare ? Announcement::WithoutPort : Announcement::None;
}

// What has always been said of such a line.
void tell(const Line& line, const Request& request, Announcement announcement) {
    if (!request.isIPv6()) {
        host::out() << "Requested IP is IPV4\n";
        if (announcement != Announcement::None) {
            host::out() << "IPV4 NameVirtualHost found "
                        << (announcement == Announcement::WithPort ? "with" : "without") << " port\n";
        }
        return;
    }
    host::out() << "Requested IP is IPV6\n";
    if (line.argumentOf(keyword::NameVirtualHost).starts_with('[')) {
        host::out() << "Picked IP is IPV6\n"
                    << (announcement == Announcement::WithPort ? "IPV6 NameVirtualHost found\n" : "");
    }
}

struct Progress {
    bool announced = false;  // a NameVirtualHost line names the address
    bool written = false;    // the site's block stands in the copy
};

using WriteBlock = std::function<void()>;

// Puts the site's block in the place of the address's own, whose opening line was just read and whose
// ServerName is the address. False when it belongs to a name.
bool replaceBlock(Rewrite& rewrite, const Request& request, Progress& progress,
                  const WriteBlock& writeBlock) {
    for (Line line; rewrite.read(line) && !line.beginsInFirstColumn(keyword::VirtualHostEndTag);) {
        if (!line.begins(keyword::ServerName)) {
            continue;
        }
        if (!conf::beginsIgnoringCase(line.argumentOf(keyword::ServerName), request.address)) {
            return false;
        }
        if (!progress.announced) {
            rewrite.write("");
            // No blank behind the keyword: other programs look for exactly this text.
            rewrite.write("NameVirtualHost" + request.address + ":" + request.port);
            IsPortEnabled = 1;
        }
        writeBlock();
        progress.written = true;
    }
    return true;
}

// Copies the configuration, the address's block replaced in IP-based mode. False when the site cannot be
// added because its domain, or a name at its address, is there.
bool copyConfiguration(Rewrite& rewrite, const Request& request, Progress& progress,
                       const WriteBlock& writeBlock) {
    bool begun = false;
    for (Line line; rewrite.read(line);) {
        if (!begun && line.isCommentInFirstColumn()) {
            // The comments that head the file survive in one mode only.
            if (request.mode == Mode::Append) {
                rewrite.keep(line);
            }
            continue;
        }
        begun = true;
        if (request.mode == Mode::IPBased && !progress.written && line.begins(keyword::VirtualHost) &&
            conf::beginsIgnoringCase(line.argumentOf(keyword::VirtualHost), request.address)) {
            if (!replaceBlock(rewrite, request, progress, writeBlock)) {
                return false;
            }
            continue;
        }
        rewrite.keep(line);
        if (line.begins(keyword::NameVirtualHost)) {
            const Announcement announcement = announcementOn(line, request);
            tell(line, request, announcement);
            progress.announced = progress.announced || announcement != Announcement::None;
            if (announcement == Announcement::WithPort && !request.isIPv6()) {
                IsPortEnabled = 1;
            }
        } else if (line.namesServer(request.asciiDomain)) {
            return false;
        }
    }
    return true;
}

}  // namespace

char CZPWebsite::CreateWebsite(VHostEntry* objVHost) {
    host::report(TrackManager, "CreateWebsite",
                 {{"objVHost->DName", fieldText(objVHost->DName)},
                  {"objVHost->IPAddress", fieldText(objVHost->IPAddress)},
                  {"objVHost->Path", fieldText(objVHost->Path)},
                  {"objVHost->Port", fieldText(objVHost->Port)},
                  {"objVHost->ServerAdmin", fieldText(objVHost->ServerAdmin)}});
    const std::string configuration = host::textOf(HttpdConfFile);
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    Rewrite rewrite(configuration, host::textOf(TEMPFILE), conf::bound::Creation,
                    Rewrite::Order::ScratchFirst, conf::FinalRead::Counted);
    if (!rewrite.sourceOpen()) {
        host::out() << "Error while opening HttpdConfFile\n";
        return result::ConfigurationNotOpened;
    }
    if (!rewrite.scratchOpen()) {
        return result::ConfigurationNotOpened;
    }
    const Request request(*objVHost);
    const WriteBlock writeBlock = [&] {
        for (const std::string& line : WriteWebsiteEntry(objVHost, request.blockAddress())) {
            rewrite.write(line);
        }
    };
    Progress progress;
    if (!copyConfiguration(rewrite, request, progress, writeBlock)) {
        return result::website::AlreadyThere;  // the unfinished copy stays
    }
    if (!rewrite.intact() || (progress.written && !rewrite.putInPlace())) {
        rewrite.discard();
        return result::ConfigurationNotOpened;
    }

    const auto owner = host::findAccount(fieldText(objVHost->UserName));
    const std::string home = fieldText(objVHost->Path) + fieldText(objVHost->DName);
    if (!owner || !host::makeSiteDirectories(home, *owner, fieldText(objVHost->ServerAdmin))) {
        rewrite.discard();
        return result::website::DirectoryNotMade;
    }

    if (request.mode != Mode::Append && request.mode != Mode::NameBased) {
        rewrite.discard();
        return result::website::Created;  // also when no block of the address was there to be replaced
    }
    if (request.mode == Mode::NameBased && !progress.announced) {
        rewrite.write("");
        rewrite.write("NameVirtualHost " + request.withPort(request.port));
        IsPortEnabled = 1;
    }
    writeBlock();
    return rewrite.putInPlace() ? result::website::Created : result::ConfigurationNotOpened;
}
