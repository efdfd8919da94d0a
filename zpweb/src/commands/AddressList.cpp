// address list
#include <set>

#include "CZPWebsite.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/AskedServer.h"
#include "commands/shared/Operation.h"

namespace zpweb {

namespace {

constexpr int Listed = zp::result::website::Listed;

// Each address of each block, as the server has it.
void addServed(List& rows, const Reading& reading) {
    std::set<std::pair<std::string, std::string>> listed;
    for (const VirtualHost& host : reading.hosts()) {
        const Origin origin = reading.originOf(host);
        for (const std::string& written : host.addresses) {
            const std::string address = bareAddress(written);
            if (listed.emplace(address, origin.file).second) {
                rows.row()
                    .add("address", address)
                    .add("file", origin.file)
                    .add("line", static_cast<long>(origin.line));
            }
        }
    }
}

Outcome listAddresses(Session& session, const Configuration& configuration, const Arguments&) {
    if (const auto reading = askedServer(session, configuration)) {
        addServed(session.output.list("addresses", {"address", "file", "line"}), *reading);
        return done();
    }
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
            // It goes up to the port, and the closing quote stands behind that.
            const bool isQuoted = address.starts_with('"');
            rows.row().add("address", address.substr(isQuoted ? 1 : 0)).add("file", file->path());
        }
    }
    return done();
}

}  // namespace

Command addressList() {
    return {
        .words = "address list",
        .summary = "List the addresses in use",
        .action = listAddresses,
        .operations = {"CZPWebsite::ListOccupiedIPs"},
        .examples = {"address list"},
    };
}

}  // namespace zpweb
