// suphp install: installs suPHP on this host.
#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "host/Paths.h"
#include "sys/File.h"

namespace zpweb {

namespace suphp = zp::host::suphp;

namespace {

constexpr auto Webspace = needed("WEBSPACE", Kind::Path, "The directory of the sites");
constexpr auto Php = needed("PHP", Kind::Path, "The PHP program");

Outcome install(Transaction& change, const Arguments& given) {
    if (!isDirectory(suphp::Source)) {
        return failure(Status::NotFound,
                       std::string(suphp::Source) + ": no such directory; nothing to install from");
    }
    if (!isDirectory(given[Webspace]) || !isFile(given[Php])) {
        return failure(Status::NotFound,
                       "expected the directory of the sites and the PHP program, which are there");
    }
    const std::string main = change.configuration().main().path();
    change.afterwards([main, given, &change] {
        CZPWebsite website(nullptr, main.c_str());
        const int result = quietly(
            change.output(), [&] { return website.ConfigureSuPhp(main, given[Webspace], given[Php], ""); });
        return resultOf("ConfigureSuPhp", result, {0});
    });
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
        .operations = {"CZPWebsite::ConfigureSuPhp"},
        .more = "What it installs is not taken back by \"undo\".",
        .examples = {"suphp install /home /usr/bin/php-cgi"},
        .panelOnly = true,
    };
}

}  // namespace zpweb
