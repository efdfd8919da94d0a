#include "commands/shared/Readable.h"

#include <sys/mman.h>

#include "commands/shared/Scopes.h"
#include "host/WriteAll.h"
#include "sys/File.h"

namespace zpweb {

namespace {

std::string wholeOf(const ConfigurationFile& file) {
    Scope scope = additionsScope(file);
    for (const Block& block : file.blocks()) {
        scope.hideComments(block);
    }
    return scope.partText();
}

}  // namespace

Readable::Readable(const std::string& text)
    : copy_(::memfd_create("configuration", MFD_CLOEXEC)),
      path_("/proc/self/fd/" + std::to_string(copy_.number())) {
    static_cast<void>(zp::host::writeAll(copy_.number(), text));
}

Readable::Readable(const ConfigurationFile& file) : Readable(wholeOf(file)) {}

Readable::Readable(const ConfigurationFile& file, const std::string& site)
    : Readable(siteScope(file, site).partText()) {}

}  // namespace zpweb
