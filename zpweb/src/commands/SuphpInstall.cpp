// suphp install: installs suPHP on this host.
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "conf/SuPhpConfiguration.h"
#include "host/Paths.h"
#include "server/ServerUser.h"
#include "sys/File.h"

namespace zpweb {

namespace suphp = zp::host::suphp;

namespace {

constexpr auto Webspace = needed("WEBSPACE", Kind::Path, "The directory of the sites");
constexpr auto Php = needed("PHP", Kind::Path, "The PHP program");

// Root's alone, with the bits of the mode.
bool isRoots(const std::string& path, mode_t mode) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == 0 &&
           (status.st_mode & mode) == mode;
}

bool isProgram() { return isRoots(suphp::Program, S_ISUID | S_IXUSR); }

bool isCopy(const std::string& path, const std::string& source) {
    const auto is = readFile(path);
    const auto wanted = readFile(source);
    return is.ok() && wanted.ok() && *is == *wanted;
}

bool isConfigured(const std::string& user, const Arguments& given) {
    const auto is = readFile(suphp::Configuration);
    const auto wanted = zp::conf::suPhpConfiguration(user, given[Webspace], given[Php]);
    return is.ok() && wanted && *is == *wanted;
}

const suphp::Build& buildForHost() {
    utsname system{};
    return suphp::buildFor(::uname(&system) == 0 ? system.machine : "");
}

// The first that is not as it should be, for the operation tells of nothing that went wrong. Empty when all
// is.
std::string missing(const std::string& user, const Arguments& given, bool keepsProgram) {
    const suphp::Build& build = buildForHost();
    for (const std::string directory : build.modulesDirectories) {
        std::string module = directory + "/" + suphp::ModuleName;
        if (isDirectory(directory) && !(isCopy(module, build.module) && isRoots(module, 0755))) {
            return module;
        }
    }
    return !isDirectory(suphp::LogDirectory)                                          ? suphp::LogDirectory
           : !isConfigured(user, given)                                               ? suphp::Configuration
           : !isProgram() || !(keepsProgram || isCopy(suphp::Program, build.program)) ? suphp::Program
                                                                                      : "";
}

// The operation looks for it in the main file alone.
std::string userInMainFile(const std::string& main, Output& output) {
    std::string user;
    std::string group;
    CZPWebsite website(nullptr, main.c_str());
    static_cast<void>(quietly(output, [&] { return website.getApacheUserGroup(main, user, group); }));
    return user;
}

Outcome installNow(Output& output, const std::string& main, const std::string& user,
                   const Arguments& given) {
    const bool keepsProgram = exists(suphp::Program);
    CZPWebsite website(nullptr, main.c_str());
    const int result =
        quietly(output, [&] { return website.ConfigureSuPhp(main, given[Webspace], given[Php], ""); });
    const std::string left = missing(user, given, keepsProgram);
    if (left.empty()) {
        return resultOf("ConfigureSuPhp", result, {0});
    }
    if (!keepsProgram) {
        ::unlink(suphp::Program);  // the next run would keep it, whole or not
    }
    return failure(left + ": it could not be installed; what is installed besides stays");
}

Outcome install(Transaction& change, const Arguments& given) {
    if (!isDirectory(suphp::Source)) {
        return failure(Status::NotFound,
                       std::string(suphp::Source) + ": no such directory; nothing to install from");
    }
    if (!isDirectory(given[Webspace]) || !isFile(given[Php])) {
        return failure(Status::NotFound,
                       "expected the directory of the sites and the PHP program, which are there");
    }
    if (exists(suphp::Program) && !isProgram()) {
        return failure(Status::Refused, std::string(suphp::Program) +
                                            ": it is there, but not root's and with the mode 4755, as it "
                                            "is installed; remove it to have it installed anew");
    }
    const std::string main = change.configuration().main().path();
    const std::string user = userInMainFile(main, change.output());
    if (user.empty() || user != serverAccount(change.configuration(), change.live()).user) {
        return failure(Status::Refused, main + ": it does not tell the server's User");
    }
    change.afterwards(
        [main, user, given, &change] { return installNow(change.output(), main, user, given); });
    for (const char* file : {suphp::Program, suphp::Configuration, suphp::LogDirectory}) {
        change.output().set(file, exists(file) ? "there already" : "new");
    }
    return done();
}

}  // namespace

Command suphpInstall() {
    return {
        .words = "suphp install",
        .summary = "Install suPHP on this host",
        .action = install,
        .parameters = {Webspace, Php},
        .operations = {"CZPWebsite::getApacheUserGroup", "CZPWebsite::ConfigureSuPhp"},
        .more = "What it installs is not taken back by \"undo\".",
        .examples = {"suphp install /home /usr/bin/php-cgi"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
