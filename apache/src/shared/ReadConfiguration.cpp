#include "shared/ReadConfiguration.h"

#include <ostream>

#include "host/Fields.h"
#include "host/Machine.h"

namespace zp {

ReadConfiguration::ReadConfiguration(const char* path, size_t bound, const char* complaint)
    : hasPath_(path != nullptr && *path != '\0'), reader_(host::textOf(path), bound) {
    if (hasPath_ && !isOpen()) {
        host::out() << complaint;
    }
}

}  // namespace zp
