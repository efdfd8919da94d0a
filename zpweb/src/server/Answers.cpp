#include "server/Answers.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/Protocol.h"

namespace zpweb {

namespace {

using namespace std::chrono_literals;

constexpr size_t MostQuestions = 24;  // however many names and listeners there are
constexpr auto Patience = 3000ms;

bool isOn(const Reading& reading, const VirtualHost& host, std::string_view directive) {
    const std::string own =
        host.directive == Directive::None ? "" : reading.valueIn(host.directive, directive);
    const std::string value = lowerCase(own.empty() ? reading.valueIn(Directive::None, directive) : own);
    return !value.empty() && value != "off";
}

// An address of this host at which a request arrives at the endpoint. For "*" one that no block names.
std::string addressFor(const Reading& reading, const Endpoint& endpoint) {
    if (endpoint.address != "*") {
        return endpoint.address;
    }
    for (const char* address : {"127.0.0.1", "127.0.0.2", "127.1.2.3"}) {
        const NameMap::Entry* entry = reading.names().entryFor({address, endpoint.port});
        if (entry == nullptr || entry->at.address == "*") {
            return address;
        }
    }
    return {};
}

bool isBad(int status) { return status == 0 || status == 403 || status == 404 || status >= 500; }

std::string reasonFor(int status) {
    switch (status) {
        case 0:
            return "no answer";
        case 403:
            return "403: access is denied for its document root (Require), or the server's user cannot "
                   "enter a "
                   "directory above it, or there is no index file";
        case 404:
            return "404: nothing is there; is its document root right?";
        case 503:
            return "503: suspended, or what it is proxied to does not answer";
        default:
            return std::to_string(status) + ": see the site's error log";
    }
}

}  // namespace

Answers Answers::to(const std::set<std::string>& sites, const Reading& reading) {
    Answers answers;
    const Protocols protocols(reading);
    for (const std::string& site : sites) {
        const auto hosts = reading.hostsOf(site);
        for (const Endpoint& endpoint : reading.endpoints()) {
            const VirtualHost* host = reading.carrierOf(site, endpoint);
            const std::string address = addressFor(reading, endpoint);
            if (std::find(hosts.begin(), hosts.end(), host) == hosts.end() || address.empty() ||
                answers.all_.size() == MostQuestions) {
                continue;
            }
            Request request;
            request.server.address = address;
            request.server.port = endpoint.port;
            request.server.patience = Patience;
            request.host = site;
            request.tls = protocols.isTls(endpoint);
            request.method = "HEAD";
            request.server.perhapsBalanced = isOn(reading, *host, "RemoteIPProxyProtocol");
            const auto reply = ask(request);
            answers.all_.push_back({site, endpoint.text(), reply.ok() ? reply->status : 0});
        }
    }
    return answers;
}

std::vector<std::string> Answers::worseThan(const Answers& before) const {
    std::vector<std::string> worse;
    for (const SiteAnswer& now : all_) {
        const auto then = std::find_if(before.all_.begin(), before.all_.end(), [&](const SiteAnswer& each) {
            return each.name == now.name && each.listener == now.listener;
        });
        const bool fresh = then == before.all_.end();
        const bool unreachable = fresh && now.status == 0;  // perhaps an address of another host
        if (isBad(now.status) && !unreachable && (fresh || !isBad(then->status))) {
            worse.push_back(now.name + " on " + now.listener + " answers " + reasonFor(now.status) +
                            (fresh ? "" : " (before: " + std::to_string(then->status) + ")"));
        }
    }
    return worse;
}

}  // namespace zpweb
