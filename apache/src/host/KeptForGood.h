#pragma once
#ifdef ZPAPACHE_SANITIZE
#include <sanitizer/lsan_interface.h>
#endif

namespace zp::host {

/// Memory that is never released on purpose: the sanitizers do not call it a leak.
inline char* keptForGood(char* memory) {
#ifdef ZPAPACHE_SANITIZE
    __lsan_ignore_object(memory);
#endif
    return memory;
}

}  // namespace zp::host
