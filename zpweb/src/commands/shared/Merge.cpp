#include "commands/shared/Merge.h"

#include "commands/shared/Scopes.h"
#include "commands/shared/SiteInfo.h"
#include "input/Quoted.h"

namespace zpweb {

Outcome mergeInto(Transaction& change, const std::string& file, const MergeRequest& request,
                  const std::string& operation, const MergeCall& call) {
    Edit edit;
    edit.file = file;
    edit.bound = bound::Merge;
    edit.site = request.domain;
    edit.scope = [&](const ConfigurationFile& current) {
        return siteScope(current, request.domain, beginsWithAny(request.keywords));
    };
    edit.operation = [&](const std::string& staged) {
        const SiteInfo present(change.output(), staged, request.domain);
        UpdateVHost record = request.record;
        record.pDomain = request.domain.c_str();
        record.DirPath = request.folder.empty() ? nullptr : request.folder.c_str();
        const auto keep = [](StringVector& list, const StringVector& old) {
            if (list.empty()) {
                list = old;
            }
        };
        keep(record.ServerAlias, present.record.ServerAlias);
        keep(record.Include, present.record.Include);
        keep(record.DirIndex, present.record.DirIndex);
        CZPWebsite website(nullptr, staged.c_str());
        return call(website, record);
    };
    edit.meaning = expecting(operation, {Merged});
    return change.edit(edit);
}

Outcome changeRoot(Transaction& change, const Site& site, const std::string& root, const char* operation,
                   const MergeCall& call) {
    const Place& place = site.first();
    MergeRequest request;
    request.domain = place.block->name;
    request.keywords = {"DocumentRoot"};
    if (place.block->root.empty()) {
        return failure(Status::NotFound, "site " + inQuotes(request.domain) + " has no DocumentRoot line");
    }
    change.output().set("site", request.domain);
    return place.block->root == root ? done()
                                     : mergeInto(change, place.file->path(), request, operation, call);
}

}  // namespace zpweb
