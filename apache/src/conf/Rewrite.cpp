#include "conf/Rewrite.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "host/FileSystem.h"
#include "host/Machine.h"

namespace zp::conf {

void backUp(const std::string& file, const std::string& suffix) {
    const mode_t type = host::modeAndTypeOf(file);
    if (type == 0 || S_ISREG(type) || S_ISDIR(type)) {  // a copy of a pipe would wait for a writer
        host::machine().copy(file, file + suffix);
    }
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

Rewrite::Rewrite(const host::HeldFile& file, const std::string& suffix, size_t bound)
    : file_(file.name()), isHeld_(true), source_(file.open(O_RDONLY), bound) {
    if (source_.isOpen()) {
        scratch_ = std::make_unique<ScratchFile>(file.directory()->descriptor(), file.name() + suffix);
    }
}

bool Rewrite::putInPlace() {
    if (source_.failed()) {
        discard();
        return false;
    }
    return isHeld_ ? scratch_->renameTo(file_, source_.descriptor())
                   : scratch_->moveTo(file_, source_.descriptor());
}

void Rewrite::discard() {
    if (scratchOpen()) {
        scratch_->remove();
    }
}

}  // namespace zp::conf
