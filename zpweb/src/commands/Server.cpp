// The server: what is installed, its reload, the panel's own port.
#include <array>
#include <fstream>

#include "CZPWebsite.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "host/Paths.h"

namespace zpweb {

namespace {

// What the library finds out about the installed server.
struct Installed {
    std::array<int, 3> version{};
    std::string root, modules, service, pidFile, user, group;
    bool cloud = false;
    int highest = 0;

    explicit Installed(const std::string& main) {
        CZPWebsite website(nullptr, main.c_str());
        getApacheVersion(version[0], version[1], version[2]);
        root = website.getApacheServerRoot(main);
        modules = website.getApacheModulesDir(main);
        service = website.getApacheServicePath();
        pidFile = website.getApachePIDFilePath();
        cloud = website.ISCloudLinux();
        highest = website.ExtractHighestLVEid(main);
        static_cast<void>(website.getApacheUserGroup(main, user, group));
    }

    std::string versionText() const {
        return version[0] < 0 ? ""
                              : std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
                                    std::to_string(version[2]);
    }
};

Outcome info(Session& session, const Configuration& configuration, const Arguments& arguments) {
    const std::string main = configuration.main().path();
    const Server server(main, {});
    Output& output = session.output;
    const Installed installed = quietly(output, [&] { return Installed(main); });
    output.set("configuration", main);
    output.set("version", known(installed.versionText()));
    output.set("server_root", known(installed.root));
    output.set("modules", known(installed.modules));
    output.set("service", known(installed.service));
    output.set("pid_file", known(server.pidFile(configuration)));
    output.set("pid_file_found", known(installed.pidFile));
    output.set("running", server.master(configuration).has_value());
    output.set("user", known(installed.user));
    output.set("group", known(installed.group));
    output.set("cloudlinux", installed.cloud);
    output.set("highest_lve", installed.highest);
    for (const char* key : {"WebServerPort", "PHPHandler", "SUexecSetting"}) {
        std::string value;
        const bool found = getParamFromZPConfFile(zp::host::path::ProductConfiguration, value, key) == 1;
        output.set(key, found ? Value(std::string_view(value)) : Value());
    }
    if (arguments.has("--owner-of")) {
        output.set("owner", known(GetPathOwner(arguments.one("--owner-of"))));
    }
    return done();
}

Outcome reload(Session& session, const Configuration& configuration, const Arguments&) {
    const std::string main = configuration.main().path();
    const Server server(main, [&session] { session.output.stillWorking(); });
    if (session.settings.check) {
        session.output.step("checking the configuration");
        const Server::Verdict verdict = server.check(main);
        if (!verdict.passed) {
            return failure(Status::Refused,
                           "refused by the server's check, not reloaded:\n" + verdict.output);
        }
    }
    const auto master = server.master(configuration);
    if (!master) {
        return failure(Status::NotFound, "the server is not running with " + main);
    }
    if (const std::string obstacle = server.obstacle(configuration, *master); !obstacle.empty()) {
        return failure(Status::Refused, "not reloaded, the server would end: " + obstacle);
    }
    session.output.set("pid", *master);
    if (session.settings.dryRun || !session.settings.reload) {
        return done();
    }
    session.output.step("reloading the server");
    return server.reload(configuration, *master);
}

Outcome panelPort(Transaction& change, const Arguments& arguments) {
    const std::string address = arguments.one("IP");
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::Creation;
    edit.scope = additionsScope;
    edit.operation = [&](const std::string& staged) {
        std::ofstream out(staged, std::ios::app);
        const int result = CZPWebsite(nullptr, staged.c_str()).AddWebsitePort(out, address);
        return out.flush().good() ? result : -1;
    };
    edit.meaning = expecting("AddWebsitePort", {0});
    return change.edit(edit);
}

}  // namespace

std::vector<Command> serverCommands() {
    return {
        {"server info",
         "Show the installed server, and how it runs",
         info,
         {option("--owner-of", Kind::Path, "PATH", "Also show the account that owns a path")},
         {"getApacheVersion", "CZPWebsite::getApacheServerRoot", "CZPWebsite::getApacheModulesDir",
          "CZPWebsite::getApacheServicePath", "CZPWebsite::getApachePIDFilePath",
          "CZPWebsite::getApacheUserGroup", "CZPWebsite::ISCloudLinux", "CZPWebsite::ExtractHighestLVEid",
          "getParamFromZPConfFile", "GetPathOwner"}},
        {"server reload",
         "Reload the server, and see that it answers",
         reload,
         {},
         {"CZPWebsite::CmdApchRestart"}},
        {"server panel-port",
         "Add the block of the panel's own port",
         panelPort,
         {needed("IP", Kind::Address, "Its address")},
         {"CZPWebsite::AddWebsitePort"}},
    };
}

}  // namespace zpweb
