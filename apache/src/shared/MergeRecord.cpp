#include "shared/MergeRecord.h"

#include <ostream>

#include "Results.h"
#include "host/Fields.h"
#include "host/Machine.h"

using zp::conf::Line;
using zp::conf::Rewrite;
namespace keyword = zp::conf::keyword;

namespace zp {

namespace {

// Holds a block up to its closing line or, where that is another site's, to its ServerName line. True when
// it is the domain's. Behind a further opening line another ServerName ends it, too: a block of the site
// that is never closed must not take the next site's lines for its own.
bool holdBlock(Rewrite& rewrite, const std::string& domain, conf::HeldLines& block) {
    bool found = false;
    bool isClosed = true;  // no further block was opened inside
    for (Line line; rewrite.read(line);) {
        block.hold(line);
        if (line.begins(keyword::VirtualHostEndTag)) {
            break;
        }
        if (line.begins(keyword::ServerName)) {
            const bool isOther = !line.namesServer(domain);
            if (isOther && (!found || !isClosed)) {
                return false;
            }
            found = true;
        } else if (line.begins(keyword::VirtualHost)) {
            isClosed = false;
        }
    }
    return found;
}

}  // namespace

int mergeRecord(const std::string& configuration, const std::string& scratch, UpdateVHost& record,
                const MergeRules& rules) {
    if (configuration.empty()) {
        return result::NoConfigurationPath;
    }
    Rewrite rewrite(configuration, scratch, conf::bound::Merge, Rewrite::Order::ScratchFirst);
    if (!rewrite.open()) {
        host::out() << "Error while opening HttpdConfFile\n";
        return result::ConfigurationNotOpened;
    }
    const std::string domain = host::textOf(record.pDomain);
    StringVector accessModeDirectories;
    conf::HeldLines block;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        rewrite.keep(line);
        if (!line.begins(keyword::VirtualHost)) {
            continue;
        }
        block.clear();
        if (holdBlock(rewrite, domain, block)) {
            const std::string documentRoot = mergeBlock(rewrite, block, record, rules);
            accessModeDirectories.push_back(rules.accessModeDirectory.empty() ? documentRoot
                                                                              : rules.accessModeDirectory);
        } else {
            rewrite.keepAll(block.text());
        }
    }
    if (!rewrite.putInPlace()) {  // put in place also when the site is absent
        return result::ConfigurationNotOpened;
    }
    if (record.AccessMode != 0) {
        for (const std::string& path : accessModeDirectories) {
            static_cast<void>(host::machine().effect(
                {.step = host::Effect::Step::GiveDirectory, .path = path, .mode = record.AccessMode}));
        }
    }
    return result::Changed;
}

}  // namespace zp
