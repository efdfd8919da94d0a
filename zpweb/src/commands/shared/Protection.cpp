#include "commands/shared/Protection.h"

#include "PrivateFolder.h"
#include "Results.h"
#include "commands/shared/Operation.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr int Protected = zp::result::protection::UserAdded;
constexpr int Unprotected = zp::result::protection::UserDeleted;
constexpr mode_t ProtectionMode = 0444;

bool hasUser(const std::string& passwords, const std::string& user) {
    return ("\n" + passwords).find("\n" + user + ":") != std::string::npos;
}

}  // namespace

Outcome needsUser(const Transaction& change, const std::string& directory, const std::string& user) {
    return hasUser(change.contentOf(directory + "/.htpasswd").text(), user)
               ? done()
               : failure(Status::NotFound,
                         "user " + inQuotes(user) + ": not in " + directory + "/.htpasswd");
}

Outcome needsTool() {
    return runProgram({"htpasswd"}).status == -1 ? failure("htpasswd is not installed (apache2-utils)")
                                                 : done();
}

Outcome onProtection(Transaction& change, const std::string& directory,
                     const std::function<Outcome(const std::string& staged)>& operation) {
    if (!isDirectory(directory)) {
        return failure(Status::NotFound,
                       "path " + inQuotes(directory) + ": no such directory; expected one that is there");
    }
    OtherEdit edit;
    edit.files = {directory + "/.htaccess", directory + "/.htpasswd"};
    edit.mode = ProtectionMode;
    edit.directoryInText = directory;
    edit.operation = operation;
    return change.edit(edit);
}

Outcome protectFor(Transaction& change, const std::string& directory, const std::string& user,
                   const std::string& secret) {
    change.output().set("folder", directory);
    change.output().set("user", user);
    return onProtection(change, directory, [&](const std::string& staged) {
        const int result = PrivateFolder(nullptr).addPrivateFolder(staged, user, secret);
        if (Outcome added = resultOf("addPrivateFolder", result, {Protected}); !added.ok()) {
            return added;
        }
        const auto passwords = readFile(staged + "/.htpasswd");
        return passwords.ok() && hasUser(*passwords, user) ? done()
                                                           : failure("htpasswd did not take the user");
    });
}

Outcome unprotectFor(Transaction& change, const std::string& directory, const std::string& user) {
    if (Outcome there = needsUser(change, directory, user); !there.ok()) {
        return there;
    }
    return onProtection(change, directory, [&](const std::string& staged) {
        const int result = PrivateFolder(nullptr).deletePrivateFolder(staged, user);
        const auto passwords = readFile(staged + "/.htpasswd");
        const bool stays = passwords.ok() && hasUser(*passwords, user);
        return stays ? failure("htpasswd did not let the user go")
                     : resultOf("deletePrivateFolder", result, {Unprotected});
    });
}

}  // namespace zpweb
