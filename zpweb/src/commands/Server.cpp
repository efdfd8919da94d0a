// The server: what is installed, its reload, the panel's own port.
#include <array>
#include <fstream>

#include "CZPWebsite.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "host/Paths.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

Json known(const std::string& text) { return text.empty() ? Json() : Json(text); }

Outcome info(Session& session, const Arguments& arguments) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const std::string main = configuration->main().path();
    const Server server(main, {});
    const auto master = server.master(*configuration);
    CZPWebsite website(nullptr, main.c_str());
    std::array<int, 3> version{};
    std::string root;
    std::string modules;
    std::string service;
    std::string pidFile;
    std::string user;
    std::string group;
    bool cloud = false;
    int highest = 0;
    static_cast<void>(quietly(session.output, [&] {
        getApacheVersion(version[0], version[1], version[2]);
        root = website.getApacheServerRoot(main);
        modules = website.getApacheModulesDir(main);
        service = website.getApacheServicePath();
        pidFile = website.getApachePIDFilePath();
        cloud = website.ISCloudLinux();
        highest = website.ExtractHighestLVEid(main);
        return website.getApacheUserGroup(main, user, group);
    }));
    Output& output = session.output;
    output.set("configuration", main);
    output.set("version", version[0] < 0
                              ? Json()
                              : Json(std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
                                     std::to_string(version[2])));
    output.set("server_root", known(root));
    output.set("modules", known(modules));
    output.set("service", known(service));
    output.set("pid_file", known(server.pidFile(*configuration)));
    output.set("pid_file_found", known(pidFile));
    output.set("running", master.has_value());
    output.set("user", known(user));
    output.set("group", known(group));
    output.set("cloudlinux", cloud);
    output.set("highest_lve", highest);
    for (const char* key : {"WebServerPort", "PHPHandler", "SUexecSetting"}) {
        std::string value;
        const bool found = getParamFromZPConfFile(zp::host::path::ProductConfiguration, value, key) == 1;
        output.set(key, found ? Json(value) : Json());
    }
    if (arguments.has("--owner-of")) {
        output.set("owner", known(GetPathOwner(arguments.one("--owner-of"))));
    }
    return done();
}

Outcome reload(Session& session, const Arguments&) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const std::string main = configuration->main().path();
    const Server server(main, [&session] { session.output.stillWorking(); });
    const auto master = server.master(*configuration);
    if (!master) {
        return failure(Status::NotFound, "the server is not running with " + main);
    }
    if (session.settings.check) {
        session.output.step("checking the configuration");
        const Server::Verdict verdict = server.check(main);
        if (!verdict.passed) {
            return failure(Status::Refused,
                           "refused by the server's check, not reloaded:\n" + verdict.output);
        }
    }
    if (const std::string obstacle = server.obstacle(*configuration, *master); !obstacle.empty()) {
        return failure(Status::Refused, "not reloaded, the server would end: " + obstacle);
    }
    session.output.set("pid", *master);
    if (session.settings.dryRun || !session.settings.reload) {
        return done();
    }
    session.output.step("reloading the server");
    return server.reload(*configuration, *master);
}

Outcome panelPort(Transaction& change, const Arguments& arguments) {
    const std::string address = arguments.one("IP");
    Edit edit;
    edit.file = change.configuration().main().path();
    edit.bound = bound::Creation;
    edit.scope = [](const ConfigurationFile& file) { return Scope::additions(file.lines()); };
    edit.operation = [&](const std::string& staged) {
        std::ofstream out(staged, std::ios::app);
        const int result = CZPWebsite(nullptr, staged.c_str()).AddWebsitePort(out, address);
        return out.flush().good() ? result : -1;
    };
    edit.meaning = [](int result) { return resultOf("AddWebsitePort", result, {0}); };
    return change.edit(edit);
}

}  // namespace

std::vector<Command> serverCommands() {
    return {
        {"server info",
         "Show the installed server, and how it runs",
         {{"--owner-of", Kind::Path, "PATH", "Also show the account that owns a path"}},
         {"getApacheVersion", "CZPWebsite::getApacheServerRoot", "CZPWebsite::getApacheModulesDir",
          "CZPWebsite::getApacheServicePath", "CZPWebsite::getApachePIDFilePath",
          "CZPWebsite::getApacheUserGroup", "CZPWebsite::ISCloudLinux", "CZPWebsite::ExtractHighestLVEid",
          "getParamFromZPConfFile", "GetPathOwner"},
         info},
        {"server reload",
         "Reload the server, and see that it answers",
         {},
         {"CZPWebsite::CmdApchRestart"},
         reload},
        {"server panel-port",
         "Add the block of the panel's own port",
         {{"IP", Kind::Address, "", "Its address", true}},
         {"CZPWebsite::AddWebsitePort"},
         nullptr,
         panelPort},
    };
}

}  // namespace zpweb
