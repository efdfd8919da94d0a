#include "commands/shared/LineOperation.h"

#include "Results.h"
#include "commands/shared/Operation.h"
#include "input/Quoted.h"

namespace zpweb {

Outcome runOn(Transaction& change, const Target& target, const LineOperation& operation) {
    constexpr int NotInBlock = zp::result::helper::DomainNotFound;
    constexpr int NotInFile = zp::result::helper::NotFoundInDomain;
    Edit edit;
    edit.file = target.file;
    edit.bound = operation.bound;
    edit.site = target.site;
    edit.scope = operation.scope;
    edit.operation = [&](const std::string& staged) {
        ApacheHelper helper;
        return operation.call(helper, staged);
    };
    edit.meaning = [&](int result) {
        return result == NotInBlock || result == NotInFile
                   ? failure(Status::NotFound,
                             operation.name + ": not found" +
                                 (target.site.empty() ? "" : " in site " + inQuotes(target.site)))
                   : resultOf(operation.name, result, {0});
    };
    return change.edit(edit);
}

}  // namespace zpweb
