// The two files that put a directory behind a password: ".htaccess" asks for one, ".htpasswd" holds them.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "host/HeldFile.h"

namespace zp {

// The mode in which both files end when they are made for a directory.
inline constexpr mode_t ReadOnlyForAll = 0444;

class DirectoryProtection {
public:
    explicit DirectoryProtection(const std::string& directory);

    const host::HeldFile& accessFile() const { return accessFile_; }
    const host::HeldFile& passwordFile() const { return passwordFile_; }

    // Sees to it that the access file has each line of the protection; a new file ends read-only for
    // everybody. False when it cannot be made or written, and then it is as it was.
    [[nodiscard]] bool demandPassword() const;
    // Takes the protection's lines out of the access file; the others stay. False when one could not be
    // taken out.
    [[nodiscard]] bool lift() const;

    // Add a user with "htpasswd", delete one, give one another password; the commands of the last two are
    // printed. The tool works on a copy beside the password file, which takes its place when the tool has
    // done all of its work, so that no fault leaves half a file, or one without the user. Adding leaves the
    // file read-only for everybody, also when the tool refused the user. False when the tool could not be
    // started, or nothing was put in place.
    [[nodiscard]] bool addUser(const std::string& user, const std::string& password) const;
    [[nodiscard]] bool deleteUser(const std::string& user) const;
    enum class Replaced { No, Deleted, Yes };  // Deleted: from the copy alone
    [[nodiscard]] Replaced replaceUser(const std::string& user, const std::string& password) const;

private:
    struct Directive {
        std::string name, value;
    };

    // Absent when the access file cannot be read.
    std::optional<std::string> missingLines() const;

    host::HeldFile accessFile_, passwordFile_;
    std::array<Directive, 4> directives_;
};

// A user is one line of the password file: a name with a line break would bring another one with it.
bool isUserName(const std::string& name);

}  // namespace zp
