#include "host/Fields.h"
#include "host/Report.h"
#include "shared/MergeRecord.h"

using zp::MergeRules;
namespace host = zp::host;

int CZPWebsite::EnableMessage(UpdateVHost* ObjUVHost) {
    // The panel knows suspension and resumption under the name of the update.
    host::report(TrackManager, "UpdateWebsite", {{"ObjUVHost->pDomain", host::textOf(ObjUVHost->pDomain)}});
    return zp::mergeRecord(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), *ObjUVHost,
                           {.documentRoot = "message.htm",  // without quotes, as its readers expect it
                            .proxyPass = MergeRules::ProxyPass::Untouched,
                            .indexInDirectory = MergeRules::IndexInDirectory::Replaced,
                            .accessModeDirectory = ""});
}
