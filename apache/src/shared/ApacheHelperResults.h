// How the editing methods of ApacheHelper end.
#pragma once

#include "Results.h"
#include "conf/Rewrite.h"

namespace zp::result {

// Why a file could not be rewritten.
inline int failureOf(const conf::Rewrite& rewrite) {
    return rewrite.blame(helper::FileNotOpened, helper::TemporaryNotCreated);
}

// Puts the new text in place, or throws it away when the change was not made.
[[nodiscard]] inline int finish(conf::Rewrite& rewrite, bool done, int notFound) {
    if (done) {
        return rewrite.putInPlace() ? helper::Done : failureOf(rewrite);
    }
    rewrite.discard();
    return rewrite.blame(helper::FileNotOpened, notFound);
}

}  // namespace zp::result
