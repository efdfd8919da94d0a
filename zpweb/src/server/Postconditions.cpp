#include "server/Postconditions.h"

#include <algorithm>

namespace zpweb {

namespace {

Outcome notShown(const std::string& what) {
    return failure("the server's reading does not show the change as done: " + what +
                   "; nothing is changed");
}

bool listsHost(const NameMap::Entry* entry, const Reading& reading, const VirtualHost* host) {
    const auto number = static_cast<NameMap::Host>(host - reading.hosts().data());
    return entry != nullptr &&
           std::find(entry->hosts.begin(), entry->hosts.end(), number) != entry->hosts.end();
}

bool isOf(const std::vector<const VirtualHost*>& hosts, const VirtualHost* host) {
    return std::find(hosts.begin(), hosts.end(), host) != hosts.end();
}

// Where a block of the site is among those that share an address, the name must lead to the site.
Outcome leadsTo(const Reading& staged, const std::string& name,
                const std::vector<const VirtualHost*>& hosts) {
    for (const Endpoint& endpoint : staged.endpoints()) {
        const NameMap::Entry* entry = staged.names().entryFor(endpoint);
        const bool listens = std::any_of(hosts.begin(), hosts.end(), [&](const VirtualHost* host) {
            return listsHost(entry, staged, host);
        });
        const VirtualHost* reached = listens ? staged.carrierOf(name, endpoint) : nullptr;
        if (listens && !isOf(hosts, reached)) {
            return notShown(name + " on " + endpoint.text() + " leads to " +
                            staged.describe(reached != nullptr ? reached : staged.leadsTo(name, endpoint)) +
                            (reached != nullptr ? ", which has the name too and stands first" : ""));
        }
    }
    return done();
}

// Redirections are tried in their order; without mod_alias a rule rewrites.
bool answers503(const Reading& reading, uint32_t section) {
    constexpr std::string_view PanelsMessage = "message.htm";
    if (reading.valueIn(section, "DocumentRoot").ends_with(PanelsMessage)) {
        return true;
    }
    for (uint32_t i = section + 1; i < reading.directives()[section].end; i = reading.directives()[i].end) {
        const Directive& directive = reading.directives()[i];
        if (directive.is("RewriteRule") && directive.arguments.find("R=503") != std::string_view::npos) {
            return true;
        }
        if (lowerCase(directive.name).starts_with("redirect")) {
            return argumentsIn(directive.arguments) == std::vector<std::string>{"503", "/"};
        }
    }
    return false;
}

// Word by word, as the server takes them.
bool saysTheSame(std::string_view one, std::string_view other) {
    return argumentsIn(one) == argumentsIn(other);
}

}  // namespace

Postcondition leadsToSite(const std::string& name, const std::string& site) {
    return [=](const Reading& staged) {
        const auto hosts = staged.hostsOf(site);
        return hosts.empty() ? notShown("the server has no block of " + site +
                                        " (a condition around it is not met, or its file is not included)")
                             : leadsTo(staged, name, hosts);
    };
}

Postcondition keepsItsNames(const std::string& site) {
    return [=](const Reading& staged) {
        const auto hosts = staged.hostsOf(site);
        for (const VirtualHost* host : hosts) {
            std::vector<std::string> names{site};
            names.insert(names.end(), host->names.aliases.begin(), host->names.aliases.end());
            for (const std::string& name : names) {
                if (Outcome led = leadsTo(staged, name, {host});
                    !led.ok() && !leadsTo(staged, name, hosts).ok()) {
                    return led;
                }
            }
        }
        return done();
    };
}

Postcondition leadsThereNoMore(const std::string& name, const std::string& site) {
    return [=](const Reading& staged) {
        const auto hosts = staged.hostsOf(site);
        for (const Endpoint& endpoint : staged.endpoints()) {
            const VirtualHost* carrier = staged.carrierOf(name, endpoint);
            if (carrier != nullptr && isOf(hosts, carrier)) {
                return notShown(name + " on " + endpoint.text() + " still leads to " +
                                staged.describe(carrier));
            }
        }
        return done();
    };
}

Postcondition servesNothing(const std::string& site) {
    return [=](const Reading& staged) {
        const auto hosts = staged.hostsOf(site);
        return hosts.empty() ? done() : notShown("the server still has " + staged.describe(hosts.front()));
    };
}

Postcondition isSuspended(const std::string& site) {
    return [=](const Reading& staged) {
        for (const VirtualHost* host : staged.hostsOf(site)) {
            if (host->directive != Directive::None && !answers503(staged, host->directive)) {
                return notShown(staged.describe(host) + " is not suspended");
            }
        }
        return done();
    };
}

Postcondition inEffect(const std::string& site, const std::string& directive,
                       const std::string& arguments) {
    return [=](const Reading& staged) {
        for (const VirtualHost* host : staged.hostsOf(site)) {
            if (host->directive == Directive::None) {
                continue;
            }
            const auto all = staged.inSection(host->directive, directive);
            if (all.empty() || !saysTheSame(all.back()->arguments, arguments)) {
                return notShown(directive + " is " +
                                (all.empty() ? "not" : "\"" + std::string(all.back()->arguments) + "\"") +
                                " in effect in " + staged.describe(host));
            }
        }
        return done();
    };
}

Postcondition everyBlockCarries(const std::string& site, const std::string& directive) {
    return [=](const Reading& staged) {
        for (const VirtualHost* host : staged.hostsOf(site)) {
            const uint32_t section = host->directive;
            bool carries = section == Directive::None;
            for (uint32_t i = section; !carries && i < staged.directives()[section].end; ++i) {
                carries = staged.directives()[i].is(directive);
            }
            if (!carries) {
                return notShown("no " + directive + " is in effect in " + staged.describe(host));
            }
        }
        return done();
    };
}

Postcondition carriesNoMore(const std::string& site, const std::string& directive,
                            const std::string& arguments) {
    return [=](const Reading& staged) {
        for (const VirtualHost* host : staged.hostsOf(site)) {
            for (const Directive* each : host->directive == Directive::None
                                             ? std::vector<const Directive*>()
                                             : staged.inSection(host->directive, directive)) {
                if (saysTheSame(each->arguments, arguments)) {
                    return notShown(directive + " is still in effect at " + staged.originOf(*each).text());
                }
            }
        }
        return done();
    };
}

}  // namespace zpweb
