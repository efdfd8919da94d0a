// How the editing methods of ApacheHelper end.
#pragma once

#include "Results.h"
#include "conf/Rewrite.h"

namespace zp::result {

inline int openFailure(const conf::Rewrite& rewrite) {
    return rewrite.sourceOpen() ? helper::TemporaryNotCreated : helper::FileNotOpened;
}

// Puts the new text in place, or throws it away when the change was not made.
[[nodiscard]] inline int finish(conf::Rewrite& rewrite, bool done, int notFound) {
    if (!done) {
        rewrite.discard();
        return notFound;
    }
    return rewrite.putInPlace() ? helper::Done : helper::TemporaryNotCreated;
}

}  // namespace zp::result
