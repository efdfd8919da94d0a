// vdir show: a directory's settings.
#include <algorithm>

#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/AskedServer.h"
#include "commands/shared/DirectoryBlock.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"
#include "server/DirectoryRules.h"
#include "server/DirectorySections.h"

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

// Without such a line the record has the library's default.
bool saysWhomToAllow(const Block& block, const std::string& directory) {
    const std::vector<Statement> section = sectionOf(Statements(block), directory);
    return std::any_of(section.begin(), section.end(),
                       [](const Statement& statement) { return statement.is("Allow"); });
}

// What the server has of the directory's sections: who may see it, the options, and where they stand.
void showEffective(Output& output, const Reading& reading, const Site& site, const std::string& directory) {
    std::vector<std::string> terms;
    std::vector<std::string> places;
    std::string options;
    std::string users;
    for (const VirtualHost* host : servedBlocks(reading, site)) {
        for (const uint32_t section : directorySections(reading, host->directive, directory)) {
            places.push_back(reading.originOf(reading.directives()[section]).text());
            const std::vector<std::string> here = termsOf(reading, section);
            terms = here.empty() ? terms : here;
            users = reading.valueIn(section, "AuthUserFile");
            for (const Directive* each : reading.inSection(section, "Options")) {
                options = each->arguments;
            }
        }
    }
    output.set("require", terms);
    output.set("effective_options", known(options));
    output.set("users", known(users));
    output.set("places", places);
}

Outcome showVdir(Session& session, const Configuration& configuration, const Site& site,
                 const Arguments& given) {
    const Place& place = site.first();
    SDDir record{};
    setField(record.DomainName, domainOf(*place.block));
    setField(record.DirPath, given[Directory]);
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
    output.set("allow", saysWhomToAllow(*place.block, record.DirPath) ? known(record.Allow) : Value());
    output.set("deny", record.Deny);
    output.set("options", switchText(record.Options));
    output.set("protected", record.AnonAccess == '1');
    output.set("perl", record.PerlEnabled == '1');
    output.set("rails", record.RubyOnRails == '1');
    output.set("several_aliases", aliases == 1);
    if (const auto reading = askedServer(session, configuration)) {
        showEffective(output, *reading, site, record.DirPath);
    }
    return done();
}

}  // namespace

Command vdirShow() {
    return {
        .words = "vdir show",
        .summary = "Show a directory's settings",
        .action = showVdir,
        .parameters = {SiteName, Directory},
        .operations = {"CZPVirtualDirectory::GetVirtualDirectoryinfo",
                       "CZPVirtualDirectory::VirtualDirectoryExists",
                       "CZPVirtualDirectory::DirectoryRequired"},
        .examples = {"vdir show shop.example /home/anna/shop.example/www/html"},
    };
}

}  // namespace zpweb
