#include "shared/VirtualDirectoryBlock.h"

#include "CZPWebsite.h"
#include "conf/Directory.h"
#include "conf/Handlers.h"
#include "host/Fields.h"

using zp::conf::Rewrite;

namespace zp {

namespace {

void writeDirective(Rewrite& rewrite, std::string_view directive) {
    rewrite.write("\t\t" + std::string(directive));
}

void writeHosts(Rewrite& rewrite, std::string_view directive, const std::string& hosts) {
    writeDirective(rewrite, std::string(directive) + " from \"" + hosts + "\"");
}

// The second list counts only beside the first: without an order, allowed hosts are exceptions to those
// denied; with one, denied hosts are exceptions to those allowed.
void writeHostRules(Rewrite& rewrite, const SDDir& record, bool withRequire) {
    const std::string allow = host::fieldText(record.Allow);
    const std::string deny = host::fieldText(record.Deny);
    if (record.Order == 0) {
        if (!deny.empty()) {
            writeHosts(rewrite, "Deny", deny);
            if (!allow.empty()) {
                writeHosts(rewrite, "Allow", allow);
            }
        }
    } else if (!withRequire) {
        writeDirective(rewrite, "Order Allow,Deny");
        if (!allow.empty()) {
            writeHosts(rewrite, "Allow", allow);
            if (!deny.empty()) {
                writeHosts(rewrite, "Deny", deny);
            }
        }
    } else if (!allow.empty()) {
        writeDirective(rewrite, "Require all granted");
    } else if (!deny.empty()) {
        writeDirective(rewrite, "Require all denied");
    }
}

void writeOptions(Rewrite& rewrite, const SOptions& options) {
    std::string directive = "Options";
    bool mentioned = false;  // also by a character that is neither sign: then the line has no word for it
    for (const auto& [name, setting] : OptionWords) {
        const char sign = options.*setting;
        mentioned = mentioned || sign != 0;
        if (sign == '+' || sign == '-') {
            directive.append(" ").append(1, sign).append(name);
        }
    }
    if (mentioned) {
        writeDirective(rewrite, directive);
    }
}

void writeAuthentication(Rewrite& rewrite, const std::string& passwordFile) {
    writeDirective(rewrite, "AuthType Basic");
    writeDirective(rewrite, "AuthName \"Ristricted Area\"");  // browsers key stored passwords on this text
    writeDirective(rewrite, "AuthUserFile " + passwordFile);
    writeDirective(rewrite, "require valid-user");
}

void writeRails(Rewrite& rewrite) {
    writeDirective(rewrite, conf::rails::NoOverride);
    for (const std::string_view directive : conf::rails::Dispatch) {
        writeDirective(rewrite, directive);
    }
}

}  // namespace

std::shared_future<bool> serverKnowsRequire() {
    return std::async([] {
        int major = 0;
        int minor = 0;
        int minorMinor = 0;
        getApacheVersion(major, minor, minorMinor);
        return major >= 3 || (major == 2 && minor >= 4);
    });
}

void writeBlock(Rewrite& rewrite, const SDDir& record, const VirtualDirectoryBlock& block,
                bool withRequire) {
    rewrite.write(conf::openingLine(block.directory));
    if (block.runsPerl) {
        writeDirective(rewrite, conf::PerlHandler);
    }
    writeHostRules(rewrite, record, withRequire);
    writeOptions(rewrite, record.Options);
    if (block.authenticates) {
        writeAuthentication(rewrite, block.passwordFile);
    }
    if (block.runsRails) {
        writeRails(rewrite);
    }
    rewrite.write("\t</Directory>");
}

}  // namespace zp
