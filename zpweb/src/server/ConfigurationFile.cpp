// A file of a configuration, or a part of a long one, and a place in it.
#include <algorithm>

#include "server/Configuration.h"
#include "server/Parts.h"

namespace zpweb {

const Lines& ConfigurationFile::lines() const {
    if (!lines_) {
        lines_.emplace(content_.text());
    }
    return *lines_;
}

const Contents& ConfigurationFile::contents() const {
    if (!contents_) {
        contents_ = contentsOf(content_.text(), *around_);
    }
    return *contents_;
}

const Block* ConfigurationFile::blockAt(size_t line) const {
    const auto found = std::partition_point(blocks().begin(), blocks().end(),
                                            [line](const Block& block) { return block.lines.end <= line; });
    return found != blocks().end() && found->lines.holds(line) ? &*found : nullptr;
}

size_t ConfigurationFile::firstLine() const { return within_ != nullptr ? within_->firstLineOf(*this) : 0; }

std::string_view ConfigurationFile::behind() const {
    return within_ != nullptr ? within_->behind(*this) : std::string_view();
}

void ConfigurationFile::forget() const {
    lines_.reset();
    contents_.reset();
    if (isPart()) {
        content_.takeApart();
    }
}

std::string Place::text() const {
    return file->path() + ":" + std::to_string(file->firstLine() + block->nameLine + 1);
}

}  // namespace zpweb
