// How the editing methods of ApacheHelper answer: the two results that they share, and their two ends.
#pragma once

#include "conf/Rewrite.h"

namespace zp::result {

inline constexpr int FileNotOpened = 1;
inline constexpr int TemporaryNotCreated = 2;

inline int openFailure(const conf::Rewrite& rewrite) {
    return rewrite.sourceOpen() ? TemporaryNotCreated : FileNotOpened;
}

// Puts the new text in place, or throws it away when the change was not made.
[[nodiscard]] inline int finish(conf::Rewrite& rewrite, bool done, int notFound) {
    if (!done) {
        rewrite.discard();
        return notFound;
    }
    return rewrite.putInPlace() ? 0 : TemporaryNotCreated;
}

}  // namespace zp::result
