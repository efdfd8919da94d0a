// address list
#include "CZPWebsite.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"

namespace zpweb {

namespace {

constexpr int Listed = zp::result::website::Listed;

Outcome list(Session& session, const Configuration& configuration, const Arguments&) {
    List& rows = session.output.list("addresses", {"address", "file"});
    for (const auto& file : configuration.files()) {
        CZPWebsite website(nullptr, file->path().c_str());
        StringVector addresses;
        const int result = quietly(session.output, [&] { return website.ListOccupiedIPs(&addresses); });
        if (Outcome listed = resultOf("ListOccupiedIPs", result, {Listed}); !listed.ok()) {
            session.output.clear();
            return listed;
        }
        for (const std::string& address : addresses) {
            rows.row().add("address", address).add("file", file->path());
        }
    }
    return done();
}

}  // namespace

Command addressList() {
    return {
        .words = "address list",
        .summary = "List the addresses in use",
        .action = list,
        .operations = {"CZPWebsite::ListOccupiedIPs"},
        .examples = {"address list"},
    };
}

}  // namespace zpweb
