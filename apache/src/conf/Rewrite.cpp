#include "conf/Rewrite.h"

#include "host/Paths.h"
#include "host/Shell.h"

namespace zp::conf {

void backUp(const std::string& file, const std::string& suffix) {
    host::run({host::program::Copy, file, file + suffix});
}

Rewrite::Rewrite(const std::string& file, const std::string& scratch, size_t bound, Order order,
                 FinalRead finalRead)
    : file_(file),
      scratch_(order == Order::ScratchFirst ? openScratch(scratch) : nullptr),
      source_(file, bound, finalRead) {
    if (order == Order::SourceFirst && source_.isOpen()) {
        scratch_ = openScratch(scratch);
    }
}

bool Rewrite::putInPlace() {
    if (source_.failed()) {
        discard();
        return false;
    }
    return scratch_->moveTo(file_);
}

void Rewrite::discard() {
    if (scratchOpen()) {
        scratch_->remove();
    }
}

}  // namespace zp::conf
