#include "CZPWebsite.h"
#include "Results.h"
#include "host/Fields.h"
#include "shared/OpenBasedir.h"

namespace host = zp::host;
namespace result = zp::result;

int CZPWebsite::Disable_open_basedir(std::string szDomainName, std::string DirPath) {
    return zp::setOpenBasedir(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), szDomainName, DirPath,
                              {})
               ? result::Changed
               : result::ConfigurationNotOpened;
}
