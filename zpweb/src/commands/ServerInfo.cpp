// server info: the installed server, and how it runs.
#include <array>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "host/Paths.h"
#include "server/ServerUser.h"

namespace zpweb {

namespace {

constexpr auto OwnerOf = option("--owner-of", Kind::Path, "PATH", "Also show the account that owns a path");

// What the library finds out about the installed server.
struct Installed {
    std::array<int, 3> version{};
    std::string root, modules, service, pidFile;
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
    }

    std::string versionText() const {
        return version[0] < 0 ? ""
                              : std::to_string(version[0]) + "." + std::to_string(version[1]) + "." +
                                    std::to_string(version[2]);
    }
};

Outcome info(Session& session, const Configuration& configuration, const Arguments& given) {
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
    const ServerAccount account = serverAccount(configuration, nullptr);
    output.set("user", known(account.user));
    output.set("group", known(account.group));
    output.set("cloudlinux", installed.cloud);
    output.set("highest_lve", installed.highest);
    for (const char* key : {"WebServerPort", "PHPHandler", "SUexecSetting"}) {
        std::string value;
        const bool found = getParamFromZPConfFile(zp::host::path::ProductConfiguration, value, key) == 1;
        output.set(key, found ? Value(std::string_view(value)) : Value());
    }
    if (const auto path = given[OwnerOf]) {
        output.set("owner", known(GetPathOwner(*path)));
    }
    return done();
}

}  // namespace

Command serverInfo() {
    return {
        .words = "server info",
        .summary = "Show the installed server, and how it runs",
        .action = info,
        .parameters = {OwnerOf},
        .operations = {"getApacheVersion", "CZPWebsite::getApacheServerRoot",
                       "CZPWebsite::getApacheModulesDir", "CZPWebsite::getApacheServicePath",
                       "CZPWebsite::getApachePIDFilePath", "CZPWebsite::ISCloudLinux",
                       "CZPWebsite::ExtractHighestLVEid", "getParamFromZPConfFile", "GetPathOwner"},
        .examples = {"server info", "server info --json"},
    };
}

}  // namespace zpweb
