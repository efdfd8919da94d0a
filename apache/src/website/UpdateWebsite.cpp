#include "host/Fields.h"
#include "host/Report.h"
#include "shared/MergeRecord.h"

using zp::MergeRules;
namespace host = zp::host;

namespace {

constexpr size_t ShortestDirectory = 3;  // never "/" by itself

}  // namespace

char CZPWebsite::UpdateWebsite(UpdateVHost* ObjUVHost) {
    host::report(TrackManager, "UpdateWebsite", {{"ObjUVHost->pDomain", host::textOf(ObjUVHost->pDomain)}});
    const std::string directory = host::textOf(ObjUVHost->DirPath);
    return static_cast<char>(
        zp::mergeRecord(host::textOf(HttpdConfFile), host::textOf(TEMPFILE), *ObjUVHost,
                        {.documentRoot = "",
                         .proxyPass = MergeRules::ProxyPass::BecomesRedirect,
                         .indexInDirectory = MergeRules::IndexInDirectory::Untouched,
                         .accessModeDirectory = directory.size() < ShortestDirectory ? "" : directory}));
}
