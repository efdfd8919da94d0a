// tls list: the certificates of the sites.
#include <limits>

#include "commands/SettingsCommands.h"
#include "commands/shared/SettingParameters.h"
#include "settings/Certificate.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"
#include "settings/Tls.h"

namespace zpweb {

namespace {

constexpr auto Expiring =
    durationOption("--expiring", "DURATION", "Only those that expire within this time (14d)");

struct Used {
    std::string file, by;  // the certificate, and who names it: "zpweb" or "block"
};

// The certificate of a block: by the block itself, or by the site's setting.
Used certificateOf(const Configuration& configuration, const Block& block) {
    const auto own = argumentsIn(block, "SSLCertificateFile");
    if (!own.empty()) {
        return {std::string(unquoted(own.back())), "block"};
    }
    const std::string site = settingName(block.name);
    const auto setting = settingOf(configuration, site, Setting::Tls);
    const auto tls = setting ? tlsFrom(setting->asked) : std::nullopt;
    const bool included = includes(block, settingPath(configuration.main().path(), site, Setting::Tls));
    return tls && included ? Used{tls->files.certificate, "zpweb"} : Used{};
}

void addRow(List& rows, const Place& place, const Used& used, std::time_t now) {
    const auto facts = factsOf(used.file);
    const auto missing = uncovered(used.file, namesOf({place}));
    const long days = facts.ok() ? daysLeft(facts->notAfter, now) : 0;
    rows.row()
        .add("site", place.block->name)
        .add("days", facts.ok() ? Value(days) : Value())
        .add("certificate", used.file)
        .add("issuer", facts.ok() ? known(facts->issuer) : Value())
        .add("by", used.by)
        .add("place", place.text());
    if (facts.ok()) {
        rows.add("names", facts->names).add("fingerprint", facts->fingerprint);
        rows.add("uncovered", missing);
    }
    const std::string fault = !facts.ok() ? facts.outcome().message : days < 0 ? "expired" : "";
    if (!fault.empty()) {
        rows.add("fault", fault);
    }
}

bool isWanted(const Used& used, long expiring, std::time_t now) {
    if (used.file.empty()) {
        return false;
    }
    const auto facts = factsOf(used.file);
    return !facts.ok() || facts->notAfter - now <= expiring;
}

Outcome listTls(Session& session, const Configuration& configuration, const Arguments& given) {
    const std::time_t now = std::time(nullptr);
    const auto within = given[Expiring];
    const auto expiring = within ? long{leadingNumber(*within)} : std::numeric_limits<long>::max();
    List& rows =
        session.output.list("certificates", {"site", "days", "certificate", "by", "fault", "place"});
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            const Used used =
                block.stopped || block.name.empty() ? Used{} : certificateOf(configuration, block);
            if (isWanted(used, expiring, now)) {
                addRow(rows, {file.get(), &block}, used, now);
            }
        }
    }
    return done();
}

}  // namespace

Command tlsList() {
    return {
        .words = "tls list",
        .summary = "List the certificates of the websites",
        .action = listTls,
        .parameters = {Expiring},
        .examples = {"tls list", "tls list --expiring 14d --json"},
    };
}

}  // namespace zpweb
