#include "text/Restrictions.h"

#include <algorithm>

#include "conf/Text.h"

namespace zpweb {

namespace {

using zp::conf::equalIgnoringCase;

std::vector<std::string> hostsIn(std::string_view hosts) {
    std::vector<std::string> all;
    for (size_t at = 0; (at = hosts.find_first_not_of(" ,\t", at)) != std::string::npos;) {
        const size_t end = std::min(hosts.find_first_of(" ,\t", at), hosts.size());
        all.emplace_back(hosts.substr(at, end - at));
        at = end;
    }
    return all;
}

bool isAll(const std::vector<std::string>& hosts) {
    return std::any_of(hosts.begin(), hosts.end(),
                       [](const std::string& host) { return equalIgnoringCase(host, "all"); });
}

std::string termFor(const std::string& host) {
    if (zp::conf::beginsIgnoringCase(host, "env=")) {
        return "env " + host.substr(4);
    }
    const bool address =
        host.find(':') != std::string::npos || host.find_first_not_of("0123456789./") == std::string::npos;
    return (address ? "ip " : "host ") + host;
}

void add(std::vector<std::string>& lines, const std::string& before,
         const std::vector<std::string>& hosts) {
    for (const std::string& host : hosts) {
        lines.push_back("Require " + before + termFor(host));
    }
}

std::vector<std::string> wrapped(const std::string& section, std::vector<std::string> lines) {
    if (lines.size() < 2) {
        return lines;
    }
    lines.insert(lines.begin(), "<" + section + ">");
    lines.push_back("</" + section + ">");
    return lines;
}

// Everybody but these.
std::vector<std::string> allBut(const std::vector<std::string>& hosts) {
    std::vector<std::string> lines = {"Require all granted"};
    add(lines, "not ", hosts);
    return wrapped("RequireAll", std::move(lines));
}

std::vector<std::string> only(const std::vector<std::string>& hosts) {
    std::vector<std::string> lines;
    add(lines, "", hosts);
    return lines.empty() ? std::vector<std::string>{"Require all denied"}
                         : wrapped("RequireAny", std::move(lines));
}

std::vector<std::string> exceptAllowed(const std::vector<std::string>& allow,
                                       const std::vector<std::string>& deny) {
    if (isAll(allow)) {
        return {"Require all granted"};
    }
    if (deny.empty() || isAll(deny)) {
        return only(allow);
    }
    std::vector<std::string> lines = allBut(deny);
    add(lines, "", allow);
    return allow.empty() ? lines : wrapped("RequireAny", std::move(lines));
}

std::vector<std::string> exceptDenied(const std::vector<std::string>& allow,
                                      const std::vector<std::string>& deny) {
    if (isAll(deny)) {
        return {"Require all denied"};
    }
    if (isAll(allow) || (allow.empty() && deny.empty())) {
        return allBut(deny);
    }
    std::vector<std::string> lines = only(allow);
    if (!allow.empty()) {
        add(lines, "not ", deny);
    }
    return wrapped("RequireAll", std::move(lines));
}

}  // namespace

std::vector<std::string> requireLines(const Restriction& restriction) {
    const std::vector<std::string> allow = hostsIn(restriction.allow);
    const std::vector<std::string> deny = hostsIn(restriction.deny);
    std::vector<std::string> lines;
    if (!restriction.denyFirst) {
        lines = exceptDenied(allow, deny);
    } else if (!allow.empty() || !deny.empty()) {
        lines = exceptAllowed(allow, deny);
    }
    if (restriction.users && !lines.empty() && lines.front() == "Require all granted") {
        return {"Require valid-user"};
    }
    if (restriction.users) {
        lines.emplace_back("Require valid-user");
        lines = wrapped("RequireAll", std::move(lines));
    }
    return lines;
}

std::string hostThatIsNone(std::string_view hosts) {
    for (const std::string& host : hostsIn(hosts)) {
        if (host.find('/') != std::string::npos && termFor(host).starts_with("host ")) {
            return host;
        }
    }
    return {};
}

std::optional<Restriction> restrictionOf(const std::vector<std::string>& lines) {
    Restriction told;
    bool granted = false;
    bool denied = false;
    for (const std::string& line : lines) {
        const size_t blank = line.rfind(' ');
        const std::string term = line.substr(0, blank);
        const std::string host = (term.ends_with(" env") ? "env=" : "") + line.substr(blank + 1);
        granted = granted || line == "Require all granted";
        denied = denied || line == "Require all denied";
        told.users = told.users || line == "Require valid-user";
        if (term == "Require ip" || term == "Require host" || term == "Require env") {
            told.allow += (told.allow.empty() ? "" : ",") + host;
        } else if (term.starts_with("Require not ")) {
            told.deny += (told.deny.empty() ? "" : ",") + host;
        }
    }
    if (denied) {
        told.deny = "all";
    } else if (told.allow.empty() && told.deny.empty() && (granted || told.users)) {
        told.allow = "all";
    }
    return !lines.empty() && requireLines(told) == lines ? std::optional(told) : std::nullopt;
}

bool isRestriction(const Statement& statement) {
    static constexpr std::string_view names[] = {
        "Require", "RequireAll", "RequireAny", "RequireNone", "Order",        "Allow",
        "Deny",    "Satisfy",    "AuthType",   "AuthName",    "AuthUserFile", "AuthBasicProvider"};
    return std::any_of(std::begin(names), std::end(names),
                       [&](std::string_view name) { return equalIgnoringCase(statement.name, name); });
}

std::string switchedOptions(const std::vector<std::string>& words,
                            const std::vector<std::string>& switches) {
    const bool signs = words.empty() || words.front().find_first_of("+-") == 0;
    std::vector<std::string> made;
    for (const std::string& word : words) {
        if (!signs && equalIgnoringCase(word, "All")) {
            made.insert(made.end(), {"Indexes", "Includes", "FollowSymLinks", "ExecCGI"});
        } else if (signs || !equalIgnoringCase(word, "None")) {
            made.push_back(word);
        }
    }
    for (const std::string& each : switches) {
        const std::string name = each.substr(1);
        std::erase_if(made, [&](const std::string& word) {
            return equalIgnoringCase(std::string_view(word).substr(signs ? 1 : 0), name);
        });
        if (signs || each.front() == '+') {
            made.push_back(signs ? each : name);
        }
    }
    std::string text = "Options";
    for (const std::string& word : made) {
        text += " " + word;
    }
    return made.empty() ? "Options None" : text;
}

}  // namespace zpweb
