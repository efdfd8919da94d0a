#include "conf/Rewrite.h"

#include "host/Machine.h"

namespace zp::conf {

void backUp(const std::string& file, const std::string& suffix) {
    host::machine().copy(file, file + suffix);
}

Rewrite::Rewrite(const std::string& file, const std::string& scratch, size_t bound, Order order,
                 FinalRead finalRead, ScratchFile::Opening opening)
    : file_(file),
      scratch_(order == Order::ScratchFirst ? std::make_unique<ScratchFile>(scratch, opening) : nullptr),
      source_(file, bound, finalRead) {
    if (order == Order::SourceFirst && source_.isOpen()) {
        scratch_ = std::make_unique<ScratchFile>(scratch, opening);
    }
}

bool Rewrite::putInPlace() { return sourceWhole() && scratch_->moveTo(file_); }

bool Rewrite::renameInPlace() { return sourceWhole() && scratch_->renameTo(file_); }

bool Rewrite::sourceWhole() {
    if (source_.failed()) {
        discard();
    }
    return !source_.failed();
}

void Rewrite::discard() {
    if (scratchOpen()) {
        scratch_->remove();
    }
}

}  // namespace zp::conf
