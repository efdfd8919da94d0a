#include "server/FileHandlers.h"

#include <fnmatch.h>

#include <vector>

#include "conf/Text.h"
#include "server/DirectoryPaths.h"
#include "server/Expressions.h"

namespace zpweb {

namespace {

// Is the line in a section for such files, which comes behind what is said of directories?
bool isForFile(const Reading& reading, const Directive& line, const std::string& root,
               const std::string& name) {
    bool ofFiles = false;
    for (uint32_t at = line.parent; at != Directive::None; at = reading.directives()[at].parent) {
        const Directive& section = reading.directives()[at];
        const std::vector<std::string> words = argumentsIn(section.arguments);
        const bool tilde = words.size() > 1 && words[0] == "~";
        const std::string subject = words.empty() ? "" : words[tilde ? 1 : 0];
        const bool files = section.is("Files"), pattern = section.is("FilesMatch") || (files && tilde);
        if ((pattern && !findsIn(subject, name)) ||
            (files && !tilde && ::fnmatch(subject.c_str(), name.c_str(), 0) != 0) ||
            (section.is("Directory") && !tilde && !isAbout(subject, root))) {
            return false;
        }
        ofFiles = ofFiles || files || pattern;
    }
    return ofFiles;
}

}  // namespace

std::string ownHandler(const Reading& reading, const std::string& site, const std::string& root,
                       const std::string& file) {
    std::string found;
    for (const VirtualHost* host : reading.hostsOf(site)) {
        const uint32_t end =
            host->directive == Directive::None ? 0 : reading.directives()[host->directive].end;
        for (uint32_t i = host->directive; i < end; ++i) {
            const Directive& each = reading.directives()[i];
            const Origin place = reading.originOf(each);
            if (each.is("SetHandler") && !zp::conf::contains(place.file, "/zpweb.d/") &&
                isForFile(reading, each, root, file)) {
                found = "\"SetHandler " + std::string(each.arguments) + "\" at " + place.text();
            }
        }
    }
    return found;
}

}  // namespace zpweb
