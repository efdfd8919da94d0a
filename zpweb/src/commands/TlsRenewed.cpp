// tls renewed: the server takes up certificates that were renewed in their files.
#include <cstdlib>

#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/SiteSettings.h"
#include "settings/TlsChange.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr auto Renewed =
    maybe("SITE", Kind::HostName, "The site's name (default: each whose certificate is new)");

// What an ACME client tells its hooks: the directory of the certificate that it has renewed.
bool isConcerned(const TlsSetting& setting) {
    const char* lineage = std::getenv("RENEWED_LINEAGE");
    return lineage == nullptr || setting.files.certificate.starts_with(std::string(lineage) + "/");
}

Outcome renewAll(Transaction& change) {
    const std::string settings = directoryOf(change.configuration().main().path()) + "/zpweb.d";
    for (const std::string& site : entriesOf(settings)) {
        const auto setting = tlsOf(change, site);
        if (!setting || !isConcerned(*setting)) {
            continue;
        }
        if (Outcome renewed = renewTls(change, site); !renewed.ok()) {
            return renewed;
        }
    }
    return done();
}

Outcome renewed(Transaction& change, const Arguments& given) {
    const auto site = given[Renewed];
    return site ? renewTls(change, *site) : renewAll(change);
}

}  // namespace

Command tlsRenewed() {
    return {
        .words = "tls renewed",
        .summary = "Take up a certificate that was renewed in its files",
        .action = renewed,
        .parameters = {Renewed},
        .more =
            "For the hook of an ACME client. The new certificate is looked at like that of \"tls on\"; the "
            "server reloads, and must show it. Without SITE, RENEWED_LINEAGE tells which one is new, as "
            "certbot sets it.",
        .examples = {"tls renewed shop.example", "tls renewed"},
    };
}

}  // namespace zpweb
