#include "CZPWebsite.h"
#include "Results.h"
#include "host/Fields.h"
#include "shared/OpenBasedir.h"

namespace host = zp::host;
namespace result = zp::result;

int CZPWebsite::Enable_open_basedir(std::string szDomainName, std::string DirPath) {
    const std::string restriction = "\t\tphp_admin_value open_basedir \"" + DirPath + "/:/tmp/\"";
    return zp::setOpenBasedir(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), szDomainName, DirPath,
                              restriction)
               ? result::Changed
               : result::ConfigurationNotOpened;
}
