#include "settings/CatchAll.h"

#include <algorithm>

#include "server/Protocol.h"
#include "server/ServerUser.h"
#include "settings/Modules.h"
#include "settings/Proof.h"
#include "settings/SelfSigned.h"
#include "settings/ServerFile.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"
#include "settings/Tls.h"
#include "sys/File.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

constexpr const char* Name = "catch-all";
constexpr const char* ServerName = "catch-all.invalid";
constexpr const char* UnknownName = "zpweb-asks.invalid";

// The addresses of all running blocks, by what is spoken there.
struct Addresses {
    std::vector<std::string> http, https;
};

void addOnce(std::vector<std::string>& list, const std::string& word) {
    if (std::find(list.begin(), list.end(), word) == list.end()) {
        list.push_back(word);
    }
}

// Where a site is asked for by its address alone: another one passes requests on to it.
bool isBackend(const Configuration& configuration, const std::string& address) {
    const std::string url = "://" + address;
    return std::any_of(configuration.files().begin(), configuration.files().end(), [&](const auto& file) {
        const std::string& text = file->content().text();
        for (size_t at = text.find(url); at != std::string::npos; at = text.find(url, at + 1)) {
            if (text.find_first_of("0123456789", at + url.size()) != at + url.size()) {
                return true;
            }
        }
        return false;
    });
}

// As the server has them, also those that a macro writes.
Addresses addressesServed(const Configuration& configuration, const Reading& reading) {
    Addresses addresses;
    const Protocols protocols(reading);
    for (const NameMap::Entry& entry : reading.names().entries()) {
        if (!isBackend(configuration, entry.at.text())) {
            addOnce(protocols.isTls(entry.at) ? addresses.https : addresses.http, entry.at.text());
        }
    }
    return addresses;
}

Outcome onlyServerKnows(const std::string& address) {
    return failure(Status::Refused,
                   address +
                       ": only the server can tell whether TLS is spoken there: SSLEngine stands in a "
                       "condition, or not in all of its blocks");
}

// The same by the text alone. The first block of an address decides whether TLS is spoken there, and which
// "SSLEngine" counts in it may depend on a condition.
Expected<Addresses> writtenAddresses(const Configuration& configuration) {
    Addresses addresses;
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            if (block.stopped || block.name == ServerName) {
                continue;
            }
            for (const std::string& each : zpweb::addressesOf(block)) {
                if (isBackend(configuration, each)) {
                    continue;
                }
                if (block.tlsUndecided && hostPortOf(each).port != TlsSetting{}.port) {
                    return onlyServerKnows(each);
                }
                addOnce(speaksTls(block) ? addresses.https : addresses.http, each);
            }
        }
    }
    const auto both = std::find_first_of(addresses.http.begin(), addresses.http.end(),
                                         addresses.https.begin(), addresses.https.end());
    return both == addresses.http.end() ? Expected(addresses) : onlyServerKnows(*both);
}

std::string blockFor(const std::vector<std::string>& addresses, const std::string& lines) {
    if (addresses.empty()) {
        return {};
    }
    std::string text = "<VirtualHost";
    for (const std::string& address : addresses) {
        text += " " + address;
    }
    return text + ">\n\tServerName " + ServerName + "\n" + lines + "</VirtualHost>\n";
}

std::string answerLines(const std::string& page) {
    std::string text = "\tRewriteEngine On\n";
    if (!page.empty()) {
        text += "\tErrorDocument 421 /.zpweb-page\n\tAlias \"/.zpweb-page\" \"" + page +
                "\"\n\t<Location \"/.zpweb-page\">\n\t\tRequire all granted\n\t\tForceType text/html\n"
                "\t</Location>\n\tRewriteCond %{ENV:REDIRECT_STATUS} =\"\"\n";
    }
    return text + "\tRewriteRule ^ - [R=421,L]\n";
}

// In a directory that root alone can enter.
Expected<std::string> tlsLines(Transaction& change) {
    const std::string directory = directoryOf(change.configuration().main().path()) + "/zpweb.d/" + Name;
    const std::string lines = "\tSSLEngine on\n\tSSLCertificateFile \"" + directory +
                              "/certificate.pem\"\n\tSSLCertificateKeyFile \"" + directory + "/key.pem\"\n";
    if (exists(directory + "/key.pem")) {
        return lines;
    }
    // The server's check reads them where they are.
    const auto pair = selfSigned(ServerName);
    Outcome outcome = pair.ok() ? change.willMake({directoryOf(directory), directory,
                                                   directory + "/certificate.pem", directory + "/key.pem"})
                                : pair.outcome();
    outcome = outcome.ok() ? createDirectory(directoryOf(directory), 0755) : outcome;
    outcome = outcome.ok() ? createDirectory(directory, 0700) : outcome;
    outcome =
        outcome.ok() ? writeNewFile(directory + "/certificate.pem", pair->certificate, 0600) : outcome;
    outcome = outcome.ok() ? writeNewFile(directory + "/key.pem", pair->key, 0600) : outcome;
    // The server does not start with what a power cut has left empty.
    for (const std::string& path :
         {directory + "/certificate.pem", directory + "/key.pem", directory, directoryOf(directory)}) {
        outcome = outcome.ok() ? sync(path) : outcome;
    }
    return outcome.ok() ? Expected(lines) : outcome;
}

Outcome isMisdirected(const Request& request) {
    const auto reply = ask(request);
    if (!reply.ok()) {
        return failure(described(request) + ": " + reply.outcome().message);
    }
    return reply->status == 421 ? done()
                                : failure(described(request) + " answers " + std::to_string(reply->status) +
                                          ": another site is the first there");
}

Outcome proveCatchAll(Transaction& change) {
    for (const Place& place : change.configuration().find(ServerName)) {
        const bool tls = !argumentsIn(*place.block, "SSLEngine").empty();
        for (const Peer& peer : peersToAsk(change, place)) {
            const Request request{peer, UnknownName, "/", tls};
            if (Outcome shown = shownInTime([&] { return isMisdirected(request); }); !shown.ok()) {
                return shown;
            }
        }
    }
    return done();
}

// Wherever it stands it is the first.
Outcome isFirst(const Reading& staged) {
    for (const Endpoint& endpoint : staged.endpoints()) {
        const VirtualHost* own = staged.carrierOf(ServerName, endpoint);
        const VirtualHost* first = staged.leadsTo(UnknownName, endpoint);
        if (own != nullptr && own != first) {
            return failure(Status::Refused,
                           staged.describe(first) + " is the first on " + endpoint.text() +
                               " and answers for every name there: no catch-all comes "
                               "before it; nothing is changed (rename its file so that the "
                               "server reads it after " +
                               staged.describe(own) + ")");
        }
    }
    return done();
}

}  // namespace

Outcome setCatchAll(Transaction& change, const std::string& page) {
    if (!page.empty() && !isReadableBy(serverAccount(change.configuration(), change.live()).user, page)) {
        return failure(page + ": the server's user cannot read it");
    }
    const Reading* reading = change.live();
    const auto addresses = reading != nullptr ? Expected(addressesServed(change.configuration(), *reading))
                                              : writtenAddresses(change.configuration());
    if (!addresses.ok()) {
        return addresses.outcome();
    }
    if (addresses->http.empty() && addresses->https.empty()) {
        return failure("the server has no site that a catch-all could stand before");
    }
    if (Outcome provided = requireModules(change, {"rewrite", "alias"}); !provided.ok()) {
        return provided;
    }
    std::string text = "# Answers for names that no site has. Written by zpweb: server catch-all.\n" +
                       blockFor(addresses->http, answerLines(page));
    if (!addresses->https.empty()) {
        const auto tls = tlsLines(change);
        if (!tls.ok()) {
            return tls.outcome();
        }
        text += blockFor(addresses->https, *tls + answerLines(page));
    }
    change.asked().anyName = true;
    change.expect(ServerName, "first", isFirst);
    change.prove([&change] { return proveCatchAll(change); });
    return putServerFile(change, ServerFileKind::FirstSite, Name, text);
}

Outcome dropCatchAll(Transaction& change) {
    if (!serverFileText(change, ServerFileKind::FirstSite, Name)) {
        return done();
    }
    const std::string directory = directoryOf(change.configuration().main().path()) + "/zpweb.d/" + Name;
    change.asked().anyName = true;
    Outcome outcome = dropServerFile(change, ServerFileKind::FirstSite, Name);
    for (const char* file : {"/certificate.pem", "/key.pem"}) {
        outcome = outcome.ok() && exists(directory + file) ? removeSettingFile(change, directory + file)
                                                           : outcome;
    }
    return outcome;
}

}  // namespace zpweb
