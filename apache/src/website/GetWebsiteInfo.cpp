#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/FileSystem.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/ReadConfiguration.h"

using zp::conf::Line;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

NameValueSt pair(std::string_view name, std::string_view rest) {
    return {std::string(name), std::string(conf::leadingValue(conf::skipSpace(rest)).text)};
}

NameValueSt pairIn(std::string_view argument) {
    const auto [name, rest] = conf::splitAtBlank(argument);
    return pair(name, rest);
}

// A redirect's name may stand in quotes.
NameValueSt redirectIn(std::string_view argument) {
    if (!argument.starts_with('"')) {
        return pairIn(argument);
    }
    const std::string_view name = conf::leadingValue(argument).text;
    return pair(name, conf::stepOver(argument, name.size() + 2));
}

void appendWords(std::string_view argument, StringVector& words) {
    while (!argument.empty()) {
        const auto [word, rest] = conf::splitAtBlank(argument);
        if (!word.empty()) {
            words.emplace_back(word);
        }
        argument = rest;
    }
}

std::string documentRootOn(const Line& line) {
    const std::string_view raw = line.raw();
    if (conf::contains(raw, "\"")) {
        return std::string(conf::leadingValue(raw.substr(raw.find('"'))).text);
    }
    // Counted from the start of the line, so one that is indented by more than a tab loses characters.
    return std::string(conf::skipSpace(conf::stepOver(raw, keyword::DocumentRoot.size() + 1)));
}

void readDirective(const Line& line, UpdateVHost& record, bool& proxyPassTaken) {
    // Only the first ProxyPass line counts, and a ProxyPassReverse line before it is taken for one.
    if (!proxyPassTaken && line.begins(keyword::ProxyPass)) {
        record.ProxyPass.push_back(pairIn(line.argumentOf(keyword::ProxyPass)));
        proxyPassTaken = true;
    } else if (line.begins(keyword::ProxyPassReverse)) {
        record.ProxyPassReverse.push_back(pairIn(line.argumentOf(keyword::ProxyPassReverse)));
    } else if (line.begins(keyword::Alias)) {
        record.Alias.push_back(pairIn(line.argumentOf(keyword::Alias)));
    } else if (line.begins(keyword::ScriptAlias)) {
        record.ScriptAlias.push_back(pairIn(line.argumentOf(keyword::ScriptAlias)));
        host::out() << "TNameValue.Value=" << record.ScriptAlias.back().Value << '\n';
    } else if (line.begins(keyword::ServerAlias)) {
        appendWords(line.argumentOf(keyword::ServerAlias), record.ServerAlias);
    } else if (line.begins(keyword::Include)) {
        record.Include.emplace_back(conf::stepOver(line.text(), keyword::Include.size() + 1));
    } else if (line.begins(keyword::DirectoryIndex)) {
        appendWords(line.argumentOf(keyword::DirectoryIndex), record.DirIndex);
    } else if (line.begins(keyword::Redirect)) {
        record.Redirect.push_back(redirectIn(line.argumentOf(keyword::Redirect)));
    } else if (line.begins(keyword::ErrorDocument)) {
        record.ErrorDoc.push_back(pairIn(line.argumentOf(keyword::ErrorDocument)));
    }
}

// What is forgotten at the name of another site, and what at the end of a block without a name. The
// document roots are never forgotten: those that stand before another site's name stay in the list.
void forgetOtherSite(UpdateVHost& record) {
    for (NameValueVector UpdateVHost::*list :
         {&UpdateVHost::Alias, &UpdateVHost::ScriptAlias, &UpdateVHost::Redirect, &UpdateVHost::ErrorDoc}) {
        (record.*list).clear();
    }
    for (StringVector UpdateVHost::*list :
         {&UpdateVHost::ServerAlias, &UpdateVHost::Include, &UpdateVHost::DirIndex}) {
        (record.*list).clear();
    }
}

void forgetUnnamedBlock(UpdateVHost& record) {
    for (NameValueVector UpdateVHost::*list :
         {&UpdateVHost::Alias, &UpdateVHost::ScriptAlias, &UpdateVHost::ProxyPass,
          &UpdateVHost::ProxyPassReverse, &UpdateVHost::Redirect, &UpdateVHost::ErrorDoc}) {
        (record.*list).clear();
    }
}

enum class Block { None, Unnamed, Site };

// Reads the site's block into the record. True, and the last document root met, when there is one.
bool readSite(conf::LineReader& reader, const std::string& domain, UpdateVHost& record,
              std::string& documentRoot) {
    Block block = Block::None;
    bool proxyPassTaken = false;
    for (Line read; reader.read(read);) {
        const Line line =
            read.withoutCommentMark();  // a line that was commented out is read like a live one
        if (line.begins(keyword::VirtualHost)) {
            block = Block::Unnamed;
        } else if (block == Block::None) {
            continue;
        } else if (line.begins(keyword::ServerName)) {
            block = line.namesServer(domain) ? Block::Site : Block::None;
            if (block == Block::None) {
                forgetOtherSite(record);
            }
        } else if (line.begins(keyword::DocumentRoot)) {
            documentRoot = documentRootOn(line);
            record.DocRootPath.push_back(documentRoot);
        } else if (line.begins(keyword::VirtualHostEndTag)) {
            if (block == Block::Site) {
                return true;
            }
            forgetUnnamedBlock(record);
            block = Block::None;
        } else if (block == Block::Site) {
            readDirective(line, record, proxyPassTaken);
        }
    }
    return block == Block::Site;
}

}  // namespace

char CZPWebsite::GetWebsiteInfo(UpdateVHost* ObjUVHost) {
    host::out() << "CZPWebsite::GetWebsiteInfo\n";
    const std::string domain = host::textOf(ObjUVHost->pDomain);
    host::report(TrackManager, "GetWebsiteInfo", {{"ObjUVHost->pDomain", domain}});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::SiteInfo,
                                        "Error while opening HttpdConfFile\n");
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    std::string documentRoot;
    if (!readSite(configuration.reader(), domain, *ObjUVHost, documentRoot)) {
        ObjUVHost->pDomain = nullptr;
        return configuration.atEnd(result::website::InfoNotFound);
    }
    const auto mode = host::modeOf(documentRoot);
    if (!mode) {
        return configuration.atEnd(result::website::InfoWithoutMode);
    }
    ObjUVHost->AccessMode = *mode;
    return configuration.atEnd(result::website::InfoRead);
}
