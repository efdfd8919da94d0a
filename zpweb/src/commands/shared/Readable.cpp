#include "commands/shared/Readable.h"

#include <sys/mman.h>

#include "host/WriteAll.h"
#include "text/Marks.h"

namespace zpweb {

namespace {

std::string canonicalText(const Block& block) {
    View view(block);
    view.showAll();
    return view.text();
}

std::string readableText(const Block& block) {
    if (!block.stopped) {
        return canonicalText(block);
    }
    const std::string live = withoutMarks(block.text);
    const Contents contents = contentsOf(live);
    return contents.blocks.empty() ? std::string() : withMarks(canonicalText(contents.blocks.front()));
}

}  // namespace

Readable::Readable(const std::string& text)
    : copy_(::memfd_create("configuration", MFD_CLOEXEC)),
      path_("/proc/self/fd/" + std::to_string(copy_.number())) {
    static_cast<void>(zp::host::writeAll(copy_.number(), text));
}

Readable::Readable(const Block& block) : Readable(readableText(block)) {}

}  // namespace zpweb
