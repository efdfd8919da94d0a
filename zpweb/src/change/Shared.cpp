#include "change/Shared.h"

#include <utility>

namespace zpweb {

Outcome Shared::end() {
    for (const auto& [name, action] : std::exchange(ends_, {})) {
        if (Outcome ended = action(); !ended.ok()) {
            return ended;
        }
    }
    return done();
}

}  // namespace zpweb
