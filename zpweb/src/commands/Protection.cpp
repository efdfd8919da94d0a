// Folders behind a password.
#include "PrivateFolder.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Secret.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr int Protected = 1602;
constexpr int Unprotected = 1603;
constexpr int Edited = 1605;
constexpr mode_t ProtectionMode = 0444;

bool hasUser(const std::string& passwords, const std::string& user) {
    return ("\n" + passwords).find("\n" + user + ":") != std::string::npos;
}

Outcome needsUser(const Transaction& change, const std::string& folder, const std::string& user) {
    return hasUser(change.contentOf(folder + "/.htpasswd").text(), user)
               ? done()
               : failure(Status::NotFound, "user " + inQuotes(user) + ": not in " + folder + "/.htpasswd");
}

// The library runs "htpasswd" and does not look at what it answers.
Outcome needsTool() {
    return runProgram({"htpasswd"}).status == -1 ? failure("htpasswd is not installed (apache2-utils)")
                                                 : done();
}

Outcome onFolder(Transaction& change, const std::string& folder,
                 const std::function<Outcome(const std::string& staged)>& operation) {
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

Outcome addUser(Transaction& change, const std::string& folder, const std::string& user,
                const std::string& secret) {
    change.output().set("folder", folder);
    change.output().set("user", user);
    return onFolder(change, folder, [&](const std::string& staged) {
        const int result = PrivateFolder(nullptr).addPrivateFolder(staged, user, secret);
        if (Outcome added = resultOf("addPrivateFolder", result, {Protected}); !added.ok()) {
            return added;
        }
        const auto passwords = readFile(staged + "/.htpasswd");
        return passwords.ok() && hasUser(*passwords, user) ? done()
                                                           : failure("htpasswd did not take the user");
    });
}

Outcome removeUser(Transaction& change, const std::string& folder, const std::string& user) {
    if (Outcome there = needsUser(change, folder, user); !there.ok()) {
        return there;
    }
    return onFolder(change, folder, [&](const std::string& staged) {
        return resultOf("deletePrivateFolder", PrivateFolder(nullptr).deletePrivateFolder(staged, user),
                        {Unprotected});
    });
}

Outcome protect(Transaction& change, const Arguments& arguments) {
    const auto secret = readSecret(arguments, change.output());
    if (!secret.ok()) {
        return secret.outcome();
    }
    Outcome tool = needsTool();
    return tool.ok() ? addUser(change, arguments.one("FOLDER"), arguments.one("USER"), *secret) : tool;
}

Outcome unprotect(Transaction& change, const Arguments& arguments) {
    Outcome tool = needsTool();
    return tool.ok() ? removeUser(change, arguments.one("FOLDER"), arguments.one("USER")) : tool;
}

// Within one folder the operation gives the user a new password; between two, the two steps of it are done
// one by one, each on a stage of its own folder.
Outcome editProtection(Transaction& change, const Arguments& arguments) {
    const std::string folder = arguments.one("FOLDER");
    const std::string target = arguments.one("--to", folder);
    const std::string user = arguments.one("USER");
    const auto secret = readSecret(arguments, change.output());
    if (!secret.ok()) {
        return secret.outcome();
    }
    Outcome ready = needsTool();
    ready = ready.ok() ? needsUser(change, folder, user) : ready;
    if (!ready.ok()) {
        return ready;
    }
    if (target != folder) {
        Outcome removed = removeUser(change, folder, user);
        return removed.ok() ? addUser(change, target, user, *secret) : removed;
    }
    return onFolder(change, folder, [&](const std::string& staged) {
        return resultOf("editPrivateFolder",
                        PrivateFolder(nullptr).editPrivateFolder(staged, staged, user, *secret), {Edited});
    });
}

}  // namespace

std::vector<Command> protectionCommands() {
    const Parameter user = needed("USER", Kind::UserName, "The user's name");
    const Parameter folder = needed("FOLDER", Kind::Path, "The protected folder");
    return {
        {"protect add",
         "Put a folder behind a password, or add a user to it",
         protect,
         {folder, user, passwordFile()},
         {"PrivateFolder::addPrivateFolder", "FileHandling::isParamValueExistsInFile",
          "FileHandling::addParamInFile"}},
        {"protect remove",
         "Remove a user; with the last one, the protection",
         unprotect,
         {folder, user},
         {"PrivateFolder::deletePrivateFolder", "FileHandling::delParamFromFile"}},
        {"protect edit",
         "Change a user's password, or move the user to another folder",
         editProtection,
         {folder, user, option("--to", Kind::Path, "FOLDER", "The other folder"), passwordFile()},
         {"PrivateFolder::editPrivateFolder"}},
    };
}

}  // namespace zpweb
