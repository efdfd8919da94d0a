#include "CZPVirtualDirectory.h"
#include "host/Fields.h"
#include "host/Tree.h"

char RemoveDir(const char* DName) {
    return zp::host::removeTree(zp::host::textOf(DName), zp::host::DanglingLink::Ends) ? 0 : 1;
}
