#include "commands/shared/WebUsers.h"

#include <algorithm>
#include <cstdio>

#include "CZPWebsite.h"
#include "commands/shared/Operation.h"
#include "conf/Text.h"
#include "host/Accounts.h"
#include "host/Paths.h"
#include "host/WebUsers.h"
#include "input/Quoted.h"
#include "server/ServerUser.h"
#include "sys/File.h"
#include "sys/Process.h"
#include "text/Lines.h"

namespace zpweb {

namespace path = zp::host::path;

namespace {

Outcome move(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0 ? done() : failure(systemError(nameOf(from)));
}

// The library looks for "/etc/webusers/..." below the directory that it is given: the stage stands in for
// the root directory.
Outcome runBelow(const std::string& work, const WebUsers& of, const UsersOperation& operation) {
    const std::string below = work + path::WebUsersDirectory;
    const std::string name = "/" + nameOf(of.file());
    for (const std::string& part : {work + "/etc", below}) {
        if (Outcome made = createDirectory(part, 0700); !made.ok()) {
            return made;
        }
    }
    if (Outcome moved = move(work + name, below + name); !moved.ok()) {
        return moved;
    }
    CZPUsers users(nullptr, work.c_str(), of.domain.c_str(), of.directory.c_str());
    Outcome outcome = operation(users);
    return outcome.ok() && exists(below + name) ? move(below + name, work + name) : outcome;
}

OtherEdit editOf(const WebUsers& users, const UsersOperation& operation) {
    OtherEdit edit;
    edit.files = {users.file()};
    edit.operation = [&](const std::string& work) { return runBelow(work, users, operation); };
    return edit;
}

Outcome makeUsersDirectory(Transaction& change) {
    Outcome noted = change.willMake({path::WebUsersDirectory});
    return noted.ok() ? createDirectory(path::WebUsersDirectory, 0755) : noted;
}

bool isHash(std::string_view password) {
    return password.starts_with('$') || password.starts_with("{SHA}");
}

bool holdsOnlyHashes(std::string_view text) {
    const Lines lines(text);
    return std::all_of(lines.all.begin(), lines.all.end(), [](std::string_view line) {
        return line.empty() || isHash(zp::conf::stepOver(line, line.find(':') + 1));
    });
}

}  // namespace

// The file's name carries the protected directory's path; the library turns its slashes into underscores.
std::string WebUsers::file() const {
    std::string suffix = directory;
    std::replace(suffix.begin(), suffix.end(), '/', '_');
    return zp::host::webUsersFile("", domain.c_str(), suffix.c_str());
}

Outcome WebUsers::named() const {
    return domain.find('/') == std::string::npos
               ? done()
               : failure(Status::Refused,
                         domain +
                             ": the block has no name, after which the file of its users is "
                             "called; give it one (zpweb directive add ServerName NAME "
                             "--block " +
                             domain + ")");
}

Outcome WebUsers::missing() const {
    return failure(Status::NotFound, file() + ": no such file; the site has no users");
}

Expected<WebUsers> usersAskedFor(const Configuration& configuration, const Arguments& given) {
    const std::string directory = given[OfDirectory].value_or("");
    if (!isPlace(given[SiteName])) {
        return WebUsers(given[SiteName], directory);
    }
    const auto site = findSite(configuration, given[SiteName]);
    const Outcome named = site.ok() ? site->hasName() : site.outcome();
    return named.ok() ? Expected(WebUsers(site->name(), directory)) : named;
}

std::vector<std::string> userNamesOf(const std::string& domain) {
    const auto text = readFile(WebUsers(domain, "").file());
    std::vector<std::string> names;
    const Lines lines(text.ok() ? std::string_view(*text) : std::string_view());
    for (const std::string_view line : lines.all) {
        names.emplace_back(line.substr(0, line.find(':')));
    }
    return names;
}

Outcome letServerRead(Transaction& change, const std::string& file) {
    const auto [user, group] = serverAccount(change.configuration(), change.live());
    const auto known = zp::host::findGroup(group);
    const Content text = change.contentOf(file);
    if (!known || !text || (exists(file) && isReadableBy(user, file))) {
        return done();
    }
    if (!holdsOnlyHashes(text.text())) {
        return failure(Status::Refused, file + ": the server's user " + user +
                                            " cannot read it, and it holds passwords that are no hashes: "
                                            "give it to group " +
                                            group + " with mode 0640 when that is meant");
    }
    zp::host::Effect access;
    access.path = file;
    access.group = known;
    access.mode = 0640;
    change.outstanding(std::move(access));
    return done();
}

Outcome provideUsers(Transaction& change, const WebUsers& users) {
    if (Outcome named = users.named(); !named.ok()) {
        return named;
    }
    if (!change.contentOf(users.file())) {
        change.output().note("nobody can log in yet: add users with \"user add " + users.domain +
                             " USER --folder " + users.directory + "\"");
        Outcome made = makeUsersDirectory(change);
        made = made.ok() ? change.replace(users.file(), "") : made;
        if (!made.ok()) {
            return made;
        }
    }
    return letServerRead(change, users.file());
}

Outcome noSuchUser(const std::string& user) {
    return failure(Status::NotFound, "user " + inQuotes(user) + ": not there");
}

Outcome onUsers(Transaction& change, const WebUsers& users, const UsersOperation& operation) {
    return change.contentOf(users.file()) ? change.edit(editOf(users, operation)) : users.missing();
}

Outcome onNewUsers(Transaction& change, const WebUsers& users, const UsersOperation& operation) {
    Outcome made = users.named();
    made = made.ok() ? makeUsersDirectory(change) : made;
    if (!made.ok()) {
        return made;
    }
    OtherEdit edit = editOf(users, operation);
    edit.createEmpty = true;
    Outcome outcome = change.edit(edit);
    return outcome.ok() ? letServerRead(change, users.file()) : outcome;
}

}  // namespace zpweb
