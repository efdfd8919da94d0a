// tls on: a site is served over https, too.
#include "commands/SettingsCommands.h"
#include "commands/shared/Expectations.h"
#include "commands/shared/SettingParameters.h"
#include "settings/TlsChange.h"

namespace zpweb {

namespace {

constexpr auto Certificate = neededOption("--certificate", Kind::Path, "FILE",
                                          "The certificate and its issuers, in PEM form and in order");
constexpr auto Key = neededOption("--key", Kind::Path, "FILE", "Its private key");
constexpr auto Redirect =
    flag("--redirect", "Lead http to https; ACME challenges stay reachable over http");
constexpr auto Hsts =
    durationOption("--hsts", "DURATION", "Tell browsers to use https only, for this long (180d)");
constexpr auto HttpsPort = option("--https-port", Kind::Port, "PORT", "The port of https (443)");
constexpr auto AnyName = flag("--any-name", "Also when the certificate is not for all names of the site");

Outcome on(Transaction& change, const Site& site, const Arguments& given) {
    TlsSetting setting;
    setting.files = {given[Certificate], given[Key]};
    setting.redirect = given[Redirect];
    setting.anyName = given[AnyName];
    setting.hsts = leadingNumber(given[Hsts].value_or("0"));
    setting.port = leadingNumber(given[HttpsPort].value_or("443"));
    const std::string name = site.name();
    change.output().set("site", name);
    change.output().set("certificate", setting.files.certificate);
    Outcome outcome = setTls(change, name, setting, given[Overwrite]);
    // An earlier command of this change may have taken away what the setting brings; the handshake shows
    // it.
    for (const char* brought : {"SSLEngine", "SSLCertificateFile", "SSLCertificateKeyFile"}) {
        releaseDirective(change, hostNameIn(name), brought);
    }
    return outcome;
}

}  // namespace

Command tlsOn() {
    return {
        .words = "tls on",
        .summary = "Serve a website over https",
        .action = on,
        .parameters = {SiteName, Certificate, Key, Redirect, Hsts, HttpsPort, AnyName, Overwrite},
        .more =
            "The site's https blocks are completed, or made beside its http blocks with the same root, "
            "names and settings. The certificate is looked at before: its key, its chain, its names, its "
            "dates, and who can read the key. After the reload the server must show it for each name.",
        .examples = {"tls on shop.example --certificate /etc/letsencrypt/live/shop.example/fullchain.pem "
                     "--key /etc/letsencrypt/live/shop.example/privkey.pem --redirect"},
    };
}

}  // namespace zpweb
