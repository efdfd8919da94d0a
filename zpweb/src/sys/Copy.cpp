#include "sys/Copy.h"

#include <fcntl.h>
#include <unistd.h>

#include "sys/Attributes.h"
#include "sys/File.h"

namespace zpweb {

Outcome copyWhole(const std::string& from, const std::string& to, size_t limit) {
    ::unlink(to.c_str());
    if (const auto target = linkTarget(from)) {
        return ::symlink(target->c_str(), to.c_str()) == 0 ? done() : failure(systemError(to));
    }
    // Each is opened once: where an owner can write, another file may bear the name at the next look.
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    const auto text = source.isOpen() ? readDescriptor(source, from, limit)
                                      : Expected<std::string>(failure(systemError(from)));
    if (!text.ok()) {
        return text.outcome();
    }
    const std::string_view whole = *text;
    const auto fresh = makeNewFile(to, {&whole, 1}, 0600);
    const Outcome copied =
        fresh.ok() ? takeOverAttributes(source, *fresh, from, ModeBits::All) : fresh.outcome();
    return copied.ok() ? sync(*fresh, to) : copied;
}

}  // namespace zpweb
