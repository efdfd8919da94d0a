// Web users and password-protected folders.
#include <sys/stat.h>

#include <algorithm>

#include "CZPUsers.h"
#include "PrivateFolder.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

// --- web users
// --------------------------------------------------------------------------------------------

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

// Runs an operation on the staged users' file: the stage stands in for the root folder.
Outcome onUsers(Transaction& change, const Arguments& arguments, bool create,
                const std::function<Outcome(CZPUsers&)>& operation) {
    const std::string domain = arguments.one("SITE");
    const std::string folder = arguments.one("--folder");
    OtherEdit edit;
    edit.files = {usersFile(domain, folder)};
    edit.createEmpty = create;
    if (!create && !exists(edit.files.front())) {
        return failure(Status::NotFound, edit.files.front() + ": no such file; the site has no users");
    }
    if (create) {
        if (Outcome made = change.willMake({UsersFolder}); !made.ok()) {
            return made;
        }
        if (Outcome made = makeFolder(UsersFolder, 0755); !made.ok()) {
            return made;
        }
    }
    edit.operation = [&](const std::string& work) {
        // The library looks for "/etc/webusers/..." below the folder that it is given.
        const std::string below = work + UsersFolder;
        const std::string name = nameOf(edit.files.front());
        for (const std::string& part : {work + "/etc", below}) {
            if (Outcome made = makeFolder(part, 0700); !made.ok()) {
                return made;
            }
        }
        if (::rename((work + "/" + name).c_str(), (below + "/" + name).c_str()) != 0) {
            return failure(systemError(name));
        }
        CZPUsers users(nullptr, work.c_str(), domain.c_str(), folder.c_str());
        Outcome outcome = operation(users);
        if (outcome.ok() && exists(below + "/" + name) &&
            ::rename((below + "/" + name).c_str(), (work + "/" + name).c_str()) != 0) {
            return failure(systemError(name));
        }
        return outcome;
    };
    return change.edit(edit);
}

Outcome add(Transaction& change, const Arguments& arguments) {
    const auto secret = readSecret(arguments, change.output());
    if (!secret.ok()) {
        return secret.outcome();
    }
    const std::string user = arguments.one("USER");
    change.output().set("user", user);
    return onUsers(change, arguments, true, [&](CZPUsers& users) {
        const char result = users.UserCreate(user.c_str(), secret->c_str());
        return result == UserThere ? failure(Status::Exists, "user " + inQuotes(user) + ": exists already")
                                   : resultOf("UserCreate", result, {UserAdded});
    });
}

Outcome changePassword(Transaction& change, const Arguments& arguments) {
    const auto secret = readSecret(arguments, change.output());
    if (!secret.ok()) {
        return secret.outcome();
    }
    const std::string user = arguments.one("USER");
    change.output().set("user", user);
    return onUsers(change, arguments, false, [&](CZPUsers& users) {
        const char result = users.ChangePasswd(user, *secret);
        return result == NoSuchUser ? failure(Status::NotFound, "user " + inQuotes(user) + ": not there")
                                    : resultOf("ChangePasswd", result, {PasswordChanged});
    });
}

Outcome remove(Transaction& change, const Arguments& arguments) {
    const std::string user = arguments.one("USER");
    const bool all = arguments.has("--all");
    if (all != user.empty()) {
        return failure(Status::Usage, "user delete: expected a USER, or --all");
    }
    return onUsers(change, arguments, false, [&](CZPUsers& users) {
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
    Json rows = Json::array();
    const std::string domain = arguments.one("SITE");
    const std::string folder = arguments.one("--folder");
    CZPUsers manager(nullptr, "", domain.c_str(), folder.c_str());
    if (!exists(usersFile(domain, folder))) {
        return failure(Status::NotFound,
                       usersFile(domain, folder) + ": no such file; the site has no users");
    }
    StringVector names;
    const int result = quietly(session.output, [&] { return manager.UserList(&names); });
    for (const std::string& name : names) {
        rows.push_back({{"user", name}});
    }
    session.output.list("users", {"user"}, std::move(rows));
    return resultOf("UserList", result, {UsersListed, NamesListed});
}

// --- protected folders
// ------------------------------------------------------------------------------------

constexpr int Protected = 1602;
constexpr int Unprotected = 1603;
constexpr int Edited = 1605;
constexpr mode_t ProtectionMode = 0444;

Outcome onFolder(Transaction& change, const std::string& folder,
                 const std::function<Outcome(const std::string&)>& operation) {
    if (!isFolder(folder)) {
        return failure(Status::NotFound,
                       "path " + inQuotes(folder) + ": no such folder; expected one that is there");
    }
    OtherEdit edit;
    edit.files = {folder + "/.htaccess", folder + "/.htpasswd"};
    edit.mode = ProtectionMode;
    edit.folderInText = folder;
    edit.operation = operation;
    return change.edit(edit);
}

// The library runs "htpasswd" and does not look at what it answers.
Outcome htpasswdIsThere() {
    return runProgram({"htpasswd"}).status == -1 ? failure("htpasswd is not installed (apache2-utils)")
                                                 : done();
}

bool knowsUser(const std::string& folder, const std::string& user) {
    const auto text = readFile(folder + "/.htpasswd");
    return text.ok() && ("\n" + *text).find("\n" + user + ":") != std::string::npos;
}

Outcome protect(Transaction& change, const Arguments& arguments) {
    const auto secret = readSecret(arguments, change.output());
    if (!secret.ok()) {
        return secret.outcome();
    }
    if (Outcome tool = htpasswdIsThere(); !tool.ok()) {
        return tool;
    }
    const std::string user = arguments.one("USER");
    change.output().set("folder", arguments.one("FOLDER"));
    change.output().set("user", user);
    return onFolder(change, arguments.one("FOLDER"), [&](const std::string& staged) {
        const int result = PrivateFolder(nullptr).addPrivateFolder(staged, user, *secret);
        if (Outcome added = resultOf("addPrivateFolder", result, {Protected}); !added.ok()) {
            return added;
        }
        return knowsUser(staged, user) ? done() : failure("htpasswd did not take the user");
    });
}

Outcome unprotect(Transaction& change, const Arguments& arguments) {
    const std::string user = arguments.one("USER");
    const std::string folder = arguments.one("FOLDER");
    if (Outcome tool = htpasswdIsThere(); !tool.ok()) {
        return tool;
    }
    if (!knowsUser(folder, user)) {
        return failure(Status::NotFound, "user " + inQuotes(user) + ": not in " + folder + "/.htpasswd");
    }
    return onFolder(change, folder, [&](const std::string& staged) {
        return resultOf("deletePrivateFolder", PrivateFolder(nullptr).deletePrivateFolder(staged, user),
                        {Unprotected});
    });
}

// Within one folder the operation gives the user a new password; between two, the two steps of it are done
// one by one, each on a stage of its own folder.
Outcome editProtection(Transaction& change, const Arguments& arguments) {
    const std::string folder = arguments.one("FOLDER");
    const std::string target = arguments.one("--to", folder);
    if (target != folder) {
        Outcome removed = unprotect(change, arguments);
        Arguments there = arguments;
        there.values["FOLDER"] = {target};
        return removed.ok() ? protect(change, there) : removed;
    }
    const auto secret = readSecret(arguments, change.output());
    if (!secret.ok()) {
        return secret.outcome();
    }
    if (Outcome tool = htpasswdIsThere(); !tool.ok()) {
        return tool;
    }
    const std::string user = arguments.one("USER");
    if (!knowsUser(folder, user)) {
        return failure(Status::NotFound, "user " + inQuotes(user) + ": not in " + folder + "/.htpasswd");
    }
    return onFolder(change, folder, [&](const std::string& staged) {
        return resultOf("editPrivateFolder",
                        PrivateFolder(nullptr).editPrivateFolder(staged, staged, user, *secret), {Edited});
    });
}

}  // namespace

std::vector<Command> userCommands() {
    const Parameter site{"SITE", Kind::HostName, "", "The site's name", true};
    const Parameter user{"USER", Kind::UserName, "", "The user's name", true};
    const Parameter of{"--folder", Kind::Path, "FOLDER", "The users of this folder instead of the site's"};
    const Parameter folder{"FOLDER", Kind::Path, "", "The protected folder", true};
    return {
        {"user add",
         "Add a web user",
         {site, user, of, passwordFileOption()},
         {"CZPUsers::UserCreate"},
         nullptr,
         add},
        {"user passwd",
         "Change a web user's password",
         {site, user, of, passwordFileOption()},
         {"CZPUsers::ChangePasswd"},
         nullptr,
         changePassword},
        {"user delete",
         "Delete a web user",
         {site,
          {"USER", Kind::UserName, "", "The user's name"},
          of,
          {"--all", Kind::Flag, "", "Delete all of them, and their file"}},
         {"CZPUsers::UserDelete", "CZPUsers::UserDeleteAll", "CZPUsers::UserExist"},
         nullptr,
         remove},
        {"user list", "List the web users", {site, of}, {"CZPUsers::UserList"}, list},
        {"protect add",
         "Put a folder behind a password, or add a user to it",
         {folder, user, passwordFileOption()},
         {"PrivateFolder::addPrivateFolder", "FileHandling::isParamValueExistsInFile",
          "FileHandling::addParamInFile"},
         nullptr,
         protect},
        {"protect remove",
         "Remove a user; with the last one, the protection",
         {folder, user},
         {"PrivateFolder::deletePrivateFolder", "FileHandling::delParamFromFile"},
         nullptr,
         unprotect},
        {"protect edit",
         "Change a user's password, or move the user to another folder",
         {folder, user, {"--to", Kind::Path, "FOLDER", "The other folder"}, passwordFileOption()},
         {"PrivateFolder::editPrivateFolder"},
         nullptr,
         editProtection},
    };
}

}  // namespace zpweb
