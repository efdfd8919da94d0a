#include "commands/shared/Protection.h"

#include <algorithm>
#include <functional>

#include "PrivateFolder.h"
#include "Results.h"
#include "commands/shared/Operation.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr int Protected = zp::result::protection::UserAdded;
constexpr int Unprotected = zp::result::protection::UserDeleted;
constexpr int Edited = zp::result::protection::Edited;
constexpr mode_t ProtectionMode = 0444;
constexpr std::ptrdiff_t MostUsers = 50000;

// Empty when there is none.
std::string lineOfUser(const std::string& passwords, const std::string& user) {
    const std::string text = "\n" + passwords;
    const size_t at = text.find("\n" + user + ":");
    return at == std::string::npos ? "" : text.substr(at + 1, text.find('\n', at + 1) - at - 1);
}

bool hasUser(const std::string& passwords, const std::string& user) {
    return !lineOfUser(passwords, user).empty();
}

// A hash is another one each time that it is made, of the same password, too.
Outcome givePassword(const std::string& staged, const std::string& user,
                     const std::function<Outcome()>& operation) {
    const std::string file = staged + "/.htpasswd";
    const auto before = readFile(file);
    if (Outcome given = operation(); !given.ok()) {
        return given;
    }
    const auto after = readFile(file);
    const std::string line = after.ok() ? lineOfUser(*after, user) : "";
    return !line.empty() && line != (before.ok() ? lineOfUser(*before, user) : "")
               ? done()
               : failure("htpasswd did not take the user");
}

Outcome onProtection(Transaction& change, const std::string& directory,
                     const std::function<Outcome(const std::string& staged)>& operation) {
    if (!isDirectory(directory)) {
        return failure(Status::NotFound,
                       "path " + inQuotes(directory) + ": no such directory; expected one that is there");
    }
    const std::string passwords = directory + "/.htpasswd";
    const Content content = change.contentOf(passwords);
    const std::string& text = content.text();
    if (std::count(text.begin(), text.end(), '\n') > MostUsers) {
        return failure(passwords + ": more than " + std::to_string(MostUsers) +
                       " lines, which htpasswd would be too long about");
    }
    OtherEdit edit;
    edit.files = {directory + "/.htaccess", passwords};
    edit.mode = ProtectionMode;
    edit.directoryInText = directory;
    edit.operation = operation;
    return change.edit(edit);
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

Outcome protectFor(Transaction& change, const std::string& directory, const std::string& user,
                   const std::string& secret) {
    // The library writes the password file's path without quotes, and the server would answer 500.
    if (directory.find_first_of(" \t") != std::string::npos) {
        return failure(Status::Refused, "path " + inQuotes(directory) +
                                            ": it has a blank, which the access file of a directory cannot "
                                            "name; protect it with \"vdir set SITE " +
                                            inQuotes(directory) + " --protect\"");
    }
    change.output().set("folder", directory);
    change.output().set("user", user);
    return onProtection(change, directory, [&](const std::string& staged) {
        return givePassword(staged, user, [&] {
            return resultOf("addPrivateFolder",
                            PrivateFolder(nullptr).addPrivateFolder(staged, user, secret), {Protected});
        });
    });
}

Outcome changePasswordFor(Transaction& change, const std::string& directory, const std::string& user,
                          const std::string& secret) {
    return onProtection(change, directory, [&](const std::string& staged) {
        return givePassword(staged, user, [&] {
            return resultOf("editPrivateFolder",
                            PrivateFolder(nullptr).editPrivateFolder(staged, staged, user, secret),
                            {Edited});
        });
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
