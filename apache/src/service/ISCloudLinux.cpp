#include "CZPWebsite.h"
#include "conf/LineReader.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace host = zp::host;

bool CZPWebsite::ISCloudLinux() {
    const zp::conf::LineReader release(host::path::CloudLinuxRelease, 0);
    return release.isOpen() ||
           zp::conf::contains(host::firstLine(host::program::KernelRelease, 499), "lve");
}
