// vdir show: a directory's settings.
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/DirectoryBlock.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"

namespace zpweb {

namespace {

constexpr char Queried = zp::result::directory::InfoRead;

std::string switchText(const SOptions& options) {
    std::string text;
    for (const DirectoryOption& each : DirectoryOptions) {
        const char state = options.*each.state;
        if (state == '+' || state == '-') {
            text += (text.empty() ? "" : " ") + std::string(1, state) + std::string(each.name);
        }
    }
    return text;
}

Outcome show(Session& session, const Configuration&, const Site& site, const Arguments& given) {
    const Place& place = site.first();
    SDDir record{};
    setField(record.DomainName, domainOf(*place.block));
    setField(record.DirPath, given[Folder]);
    const Readable readable(*place.block);
    CZPVirtualDirectory manager(nullptr, readable.path().c_str());
    Output& output = session.output;
    const int present = quietly(output, [&] { return manager.VirtualDirectoryExists(&record); });
    if (present == 0 && !place.block->stopped) {
        return failure(Status::NotFound, std::string(record.DirPath) + " has no block in this site");
    }
    const int result = quietly(output, [&] { return manager.GetVirtualDirectoryinfo(&record); });
    if (Outcome read = resultOf("GetVirtualDirectoryinfo", result, {Queried}); !read.ok()) {
        return read;
    }
    const int aliases =
        quietly(output, [&] { return manager.DirectoryRequired(record.DomainName, record.DirPath); });
    output.set("site", site.name());
    output.set("folder", record.DirPath);
    output.set("allow", record.Allow);
    output.set("deny", record.Deny);
    output.set("options", switchText(record.Options));
    output.set("protected", record.AnonAccess == '1');
    output.set("perl", record.PerlEnabled == '1');
    output.set("rails", record.RubyOnRails == '1');
    output.set("several_aliases", aliases == 1);
    return done();
}

}  // namespace

Command vdirShow() {
    return {
        .words = "vdir show",
        .summary = "Show a folder's settings",
        .action = show,
        .parameters = {SiteName, Folder},
        .operations = {"CZPVirtualDirectory::GetVirtualDirectoryinfo",
                       "CZPVirtualDirectory::VirtualDirectoryExists",
                       "CZPVirtualDirectory::DirectoryRequired"},
        .examples = {"vdir show shop.example /home/anna/shop.example/www/html"},
    };
}

}  // namespace zpweb
