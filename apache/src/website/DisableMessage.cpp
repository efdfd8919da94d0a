#include "host/Fields.h"
#include "host/Report.h"
#include "host/SiteDirectories.h"
#include "shared/MergeRecord.h"

using zp::MergeRules;
namespace host = zp::host;

int CZPWebsite::DisableMessage(UpdateVHost* ObjUVHost, const char* SitePath) {
    // The panel knows suspension and resumption under the name of the update.
    host::report(TrackManager, "UpdateWebsite", {{"ObjUVHost->pDomain", host::textOf(ObjUVHost->pDomain)}});
    return zp::mergeRecord(
        host::textOf(HttpdConfFile), host::textOf(TEMPFILE), *ObjUVHost,
        {.documentRoot = host::textOf(SitePath) + host::site::Html,  // without quotes, too
         .proxyPass = MergeRules::ProxyPass::Untouched,
         .indexInDirectory = MergeRules::IndexInDirectory::Replaced,
         .accessModeDirectory = ""});
}
