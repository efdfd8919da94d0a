#include "sys/Copy.h"

#include <unistd.h>

#include "sys/File.h"

namespace zpweb {

Outcome copyWhole(const std::string& from, const std::string& to) {
    ::unlink(to.c_str());
    if (const auto target = linkTarget(from)) {
        return ::symlink(target->c_str(), to.c_str()) == 0 ? done() : failure(systemError(to));
    }
    const auto text = readFile(from);
    Outcome copied = text.ok() ? writeNewFile(to, *text, 0600) : text.outcome();
    copied = copied.ok() ? takeOverAttributes(from, to) : copied;
    return copied.ok() ? sync(to) : copied;
}

}  // namespace zpweb
