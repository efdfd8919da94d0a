// What a configuration file says: directives, modules and their presence. Nothing here changes a file.
#include "ApacheHelper.h"
#include "Results.h"

#include <ostream>

#include "conf/DomainScope.h"
#include "conf/LineReader.h"
#include "conf/ServerLevel.h"
#include "host/Machine.h"

using zp::conf::AnyNameScope;
using zp::conf::Line;
using zp::conf::LineReader;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result::helper;

int ApacheHelper::Apache_getDirectiveValue(std::string apacheConfFile, std::string directive,
                                           std::string& value, bool isValueQuoted) {
    value.clear();
    if (directive.empty()) {
        return result::NoDirective;
    }
    LineReader reader(apacheConfFile, conf::bound::ServerLevel);
    if (!reader.isOpen()) {
        return result::FileNotOpened;
    }
    for (Line line; conf::readServerLevel(reader, line);) {
        if (!line.begins(directive)) {
            continue;
        }
        if (!isValueQuoted) {
            value = line.restBehind(directive);
            return result::Done;
        }
        const auto quoted = conf::betweenQuotes(line.text());
        if (!quoted) {
            return result::QuotesMissing;
        }
        zp::host::out() << "returning with quote\n";
        value = *quoted;
        return result::Done;
    }
    return reader.failed() ? result::FileNotOpened : result::NotFound;
}

int ApacheHelper::Apache_checkModule(std::string apacheConfFile, std::string moduleName, bool& isExist) {
    isExist = false;
    LineReader reader(apacheConfFile, conf::bound::ServerLevel);
    if (!reader.isOpen()) {
        return result::FileNotOpened;
    }
    for (Line line; conf::readServerLevel(reader, line);) {
        if (line.begins(keyword::LoadModule) &&
            conf::beginsIgnoringCase(line.restBehind(keyword::LoadModule), moduleName)) {
            isExist = true;
            return result::Done;
        }
    }
    return reader.failed() ? result::FileNotOpened : result::ModuleNotFound;
}

int ApacheHelper::Apache_getDirectiveInVH(std::string apacheConfFile, std::string domainName,
                                          std::string directive, std::string& value, bool valueQuoted) {
    value.clear();
    LineReader reader(apacheConfFile, conf::bound::Directive);
    if (!reader.isOpen()) {
        return result::FileNotOpened;
    }
    AnyNameScope scope(domainName);
    for (Line line; reader.read(line);) {
        // The ServerName line is taken before the directive is asked for: "ServerName" itself is never
        // found.
        if (line.isEmpty() || scope.enters(line)) {
            continue;
        }
        if (!scope.inDomain() || !line.begins(directive)) {
            scope.leaves(line);
            continue;
        }
        const std::string_view rest = line.restBehind(directive);
        if (!valueQuoted) {
            value = rest;
            return result::Done;
        }
        const auto quoted = conf::betweenQuotes(rest);
        if (!quoted || rest.front() != '"') {
            return result::QuotesMissing;
        }
        value = *quoted;
        return result::Done;
    }
    return reader.failed() ? result::FileNotOpened : result::NotFoundInDomain;
}

bool ApacheHelper::Apache_isDirectiveWithValueExists(std::string apacheConfFile, std::string directive,
                                                     std::string value, bool isValueQuoted) {
    if (directive.empty()) {
        return false;
    }
    LineReader reader(apacheConfFile, conf::bound::DirectiveExists);
    for (Line line; reader.read(line);) {
        if (line.opensAddressedVirtualHost()) {
            if (!conf::skipVirtualHost(reader, conf::bound::DirectiveExists)) {
                break;
            }
            continue;
        }
        if (line.isComment() || line.isEmpty() || !line.begins(directive)) {
            continue;
        }
        if (!isValueQuoted) {
            zp::host::out() << "without quotes\n";
            if (line.restBehind(directive) == value) {
                zp::host::out() << "found\n";
                return true;
            }
        } else if (const auto quoted = conf::betweenQuotes(line.text())) {
            zp::host::out() << "returning with quote\n";
            if (*quoted == value) {
                return true;
            }
        }
    }
    return false;
}

bool ApacheHelper::Apache_isModuleExistsInVH(std::string httpdConfFile, std::string domainName,
                                             std::string moduleName) {
    LineReader reader(httpdConfFile, conf::bound::ModuleInSite);
    int openBlocks = 0;
    bool inDomain = false;
    for (Line line; reader.read(line);) {
        if (!line.begins("<") && !line.begins(keyword::ServerName)) {
            continue;
        }
        const auto [word, rest] = conf::splitAtBlank(line.text());
        if (conf::equalIgnoringCase(word, keyword::VirtualHost)) {
            ++openBlocks;
            inDomain = false;
        } else if (openBlocks == 1 && conf::equalIgnoringCase(word, keyword::ServerName)) {
            inDomain = conf::equalIgnoringCase(conf::skipSpace(rest), domainName);
        } else if (inDomain && conf::equalIgnoringCase(word, keyword::IfModule)) {
            const std::string_view argument = conf::skipSpace(rest);
            const std::string_view name = conf::upTo(argument, ".");
            if (name.size() == argument.size()) {
                continue;
            }
            zp::host::out() << "modname=" << name << '\n';
            if (conf::equalIgnoringCase(name, moduleName)) {
                return true;
            }
        } else if (conf::equalIgnoringCase(word, keyword::VirtualHostEndTag)) {
            openBlocks = 0;
        }
    }
    return false;
}
