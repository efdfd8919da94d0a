#include "CZPVirtualDirectory.h"
#include "Results.h"
#include "conf/Directory.h"
#include "conf/DomainScope.h"
#include "conf/Handlers.h"
#include "host/Fields.h"
#include "host/FileSystem.h"
#include "host/Report.h"
#include "shared/ReadConfiguration.h"
#include "shared/VirtualDirectoryBlock.h"

using zp::conf::Line;
using zp::conf::LineReader;
using zp::host::fieldText;
namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

enum class Block { Found, Missing, Malformed };

// Reads on to the line that opens the directory's block in the site, commented out or not.
Block findBlock(LineReader& reader, SDDir& record) {
    const std::string directory = fieldText(record.DirPath);
    conf::FirstNameScope scope(fieldText(record.DomainName));
    for (Line raw; reader.read(raw);) {
        const Line line = raw.withoutCommentMark();
        if (scope.enters(line)) {
            if (scope.inDomain()) {
                record.Permission = host::modeAndTypeOf(directory);
            }
        } else if (scope.inDomain() && line.begins(keyword::Directory)) {
            const conf::Value found = conf::directoryOf(line);
            if (!found.closed) {
                return Block::Malformed;
            }
            if (conf::equalIgnoringCase(found.text, directory)) {
                return Block::Found;
            }
        } else if (scope.inDomain() && line.begins(keyword::VirtualHostEnd)) {
            return Block::Missing;
        } else {
            scope.leaves(line);
        }
    }
    return Block::Missing;
}

void readOptions(SOptions& options, std::string_view words) {
    for (const auto& [name, setting] : zp::OptionWords) {
        const std::string word(name);
        options.*setting = conf::contains(words, "+" + word)   ? '+'
                           : conf::contains(words, "-" + word) ? '-'
                                                               : '\0';
    }
}

// What stands behind a keyword of this length and "from ": these characters are stepped over unseen, so
// that "AllowOverride none" gives "de none".
std::string_view hostsBehind(const Line& line, std::string_view directive) {
    constexpr size_t from = std::string_view("from ").size();
    return conf::leadingValue(conf::skipSpace(conf::stepOver(line.argumentOf(directive), from))).text;
}

// Comment marks are not stepped over here: a stopped site's lines are comments, and the record has the
// defaults instead of what they say.
void readBlock(LineReader& reader, SDDir& record) {
    record.Order = 1;  // whatever an Order line says
    host::setField(record.Allow, "All");
    host::setField(record.Deny, "");
    for (Line line; reader.read(line);) {
        if (line.begins("Options")) {
            readOptions(record.Options, line.restBehind("Options"));
        } else if (line.begins("Allow")) {
            host::setField(record.Allow, hostsBehind(line, "Allow"));
        } else if (line.begins("Deny")) {
            host::setField(record.Deny, hostsBehind(line, "Deny"));
        } else if (line.begins("AuthType Basic")) {
            record.AnonAccess = '1';
        } else if (conf::equalIgnoringCase(line.text(), conf::PerlHandler)) {
            record.PerlEnabled = '1';
        } else if (conf::equalIgnoringCase(line.text(), conf::rails::Handler)) {
            record.RubyOnRails = '1';
        } else if (line.begins(keyword::DirectoryEnd)) {
            break;
        }
    }
}

}  // namespace

char CZPVirtualDirectory::GetVirtualDirectoryinfo(SDDir* ObjDDir) {
    host::report(TrackManager, "GetVirtualDirectoryinfo",
                 {{"ObjDDir->DomainName", fieldText(ObjDDir->DomainName)},
                  {"ObjDDir->DirPath", fieldText(ObjDDir->DirPath)}});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::None);
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    switch (findBlock(configuration.reader(), *ObjDDir)) {
        case Block::Found:
            readBlock(configuration.reader(), *ObjDDir);
            return configuration.atEnd(result::directory::InfoRead);
        case Block::Missing:
            return configuration.atEnd(result::directory::InfoRead);
        case Block::Malformed:
            break;
    }
    host::removeFile(host::textOf(TEMPFILE));  // though nothing was written there
    return result::directory::MalformedOtherwise;
}
