// Web users.
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>

#include "CZPUsers.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Secret.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr char UserAdded = 77;
constexpr char UserThere = 54;
constexpr char PasswordChanged = 76;
constexpr char NoSuchUser = 53;
constexpr char UserGone = 79;
constexpr char UsersListed = 82;
constexpr char NamesListed = 81;
constexpr char AllGone = 80;
constexpr const char* UsersFolder = "/etc/webusers";

// The file's name carries the protected folder's path; the library turns its slashes into underscores.
std::string usersFile(const std::string& domain, const std::string& folder) {
    std::string suffix = folder;
    std::replace(suffix.begin(), suffix.end(), '/', '_');
    return std::string(UsersFolder) + "/passwd." + domain + (suffix.empty() ? "" : "_" + suffix);
}

// The users of a site, or of one of its folders.
struct Users {
    std::string domain, folder;

    explicit Users(const Arguments& arguments)
        : domain(arguments.one("SITE")), folder(arguments.one("--folder")) {}
    std::string file() const { return usersFile(domain, folder); }
    Outcome missing() const {
        return failure(Status::NotFound, file() + ": no such file; the site has no users");
    }
};

Outcome move(const std::string& from, const std::string& to) {
    return std::rename(from.c_str(), to.c_str()) == 0 ? done() : failure(systemError(nameOf(from)));
}

using UsersOperation = std::function<Outcome(CZPUsers&)>;

// The library looks for "/etc/webusers/..." below the folder that it is given: the stage stands in for the
// root folder.
Outcome runBelow(const std::string& work, const Users& of, const UsersOperation& operation) {
    const std::string below = work + UsersFolder;
    const std::string name = "/" + nameOf(of.file());
    for (const std::string& part : {work + "/etc", below}) {
        if (Outcome made = makeFolder(part, 0700); !made.ok()) {
            return made;
        }
    }
    if (Outcome moved = move(work + name, below + name); !moved.ok()) {
        return moved;
    }
    CZPUsers users(nullptr, work.c_str(), of.domain.c_str(), of.folder.c_str());
    Outcome outcome = operation(users);
    return outcome.ok() && exists(below + name) ? move(below + name, work + name) : outcome;
}

Outcome onUsers(Transaction& change, const Arguments& arguments, const UsersOperation& operation) {
    const Users users(arguments);
    OtherEdit edit;
    edit.files = {users.file()};
    edit.createEmpty = arguments.verb == "add";
    if (edit.createEmpty) {
        Outcome made = change.willMake({UsersFolder});
        made = made.ok() ? makeFolder(UsersFolder, 0755) : made;
        if (!made.ok()) {
            return made;
        }
    } else if (!change.contentOf(users.file())) {
        return users.missing();
    }
    edit.operation = [&](const std::string& work) { return runBelow(work, users, operation); };
    return change.edit(edit);
}

// Adds a user, or gives one another password.
Outcome setPassword(Transaction& change, const Arguments& arguments) {
    const auto secret = readSecret(arguments, change.output());
    if (!secret.ok()) {
        return secret.outcome();
    }
    const std::string user = arguments.one("USER");
    change.output().set("user", user);
    return onUsers(change, arguments, [&](CZPUsers& users) {
        if (arguments.verb == "add") {
            const Meaning meaning =
                expecting("UserCreate", {UserAdded}, UserThere,
                          failure(Status::Exists, "user " + inQuotes(user) + ": exists already"));
            return meaning(users.UserCreate(user.c_str(), secret->c_str()));
        }
        const Meaning meaning =
            expecting("ChangePasswd", {PasswordChanged}, NoSuchUser,
                      failure(Status::NotFound, "user " + inQuotes(user) + ": not there"));
        return meaning(users.ChangePasswd(user, *secret));
    });
}

Outcome remove(Transaction& change, const Arguments& arguments) {
    const std::string user = arguments.one("USER");
    const bool all = arguments.has("--all");
    if (all != user.empty()) {
        return failure(Status::Usage, "user delete: expected a USER, or --all");
    }
    return onUsers(change, arguments, [&](CZPUsers& users) {
        if (all) {
            return resultOf("UserDeleteAll", users.UserDeleteAll(), {AllGone});
        }
        StringVector names;
        static_cast<void>(users.UserExist(&names));
        if (std::find(names.begin(), names.end(), user) == names.end()) {
            return failure(Status::NotFound, "user " + inQuotes(user) + ": not there");
        }
        return resultOf("UserDelete", users.UserDelete(user.c_str()), {UserGone});
    });
}

Outcome list(Session& session, const Arguments& arguments) {
    const Users users(arguments);
    if (!exists(users.file())) {
        return users.missing();
    }
    CZPUsers manager(nullptr, "", users.domain.c_str(), users.folder.c_str());
    StringVector names;
    const int result = quietly(session.output, [&] { return manager.UserList(&names); });
    List& rows = session.output.list("users", {"user"});
    for (const std::string& name : names) {
        rows.row().add("user", name);
    }
    return resultOf("UserList", result, {UsersListed, NamesListed});
}

}  // namespace

std::vector<Command> webUserCommands() {
    const Parameter user = needed("USER", Kind::UserName, "The user's name");
    const Parameter of =
        option("--folder", Kind::Path, "FOLDER", "The users of this folder instead of the site's");
    return {
        {"user add",
         "Add a web user",
         setPassword,
         {siteName(), user, of, passwordFile()},
         {"CZPUsers::UserCreate"}},
        {"user passwd",
         "Change a web user's password",
         setPassword,
         {siteName(), user, of, passwordFile()},
         {"CZPUsers::ChangePasswd"}},
        {"user delete",
         "Delete a web user",
         remove,
         {siteName(), maybe("USER", Kind::UserName, "The user's name"), of,
          flag("--all", "Delete all of them, and their file")},
         {"CZPUsers::UserDelete", "CZPUsers::UserDeleteAll", "CZPUsers::UserExist"}},
        {"user list", "List the web users", list, {siteName(), of}, {"CZPUsers::UserList"}},
    };
}

}  // namespace zpweb
