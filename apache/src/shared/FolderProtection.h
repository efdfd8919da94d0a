// The two files that put a folder behind a password: ".htaccess" asks for one, ".htpasswd" holds them.
#pragma once

#include <array>
#include <string>

#include "host/SiteFile.h"

namespace zp {

// The mode in which both files end when they are made for a folder.
inline constexpr mode_t ReadOnlyForAll = 0444;

class FolderProtection {
public:
    explicit FolderProtection(const std::string& folder);

    const host::SiteFile& accessFile() const { return accessFile_; }
    const host::SiteFile& passwordFile() const { return passwordFile_; }

    // Sees to it that the access file has each line of the protection; a new file ends read-only for
    // everybody. False when it cannot be made or written.
    [[nodiscard]] bool demandPassword() const;
    // Takes the protection's lines out of the access file; the others stay.
    void lift() const;

    // The commands that add a user, with the password file or to it, and that delete one.
    std::string makingCommand(const std::string& user, const std::string& password) const;
    std::string addingCommand(const std::string& user, const std::string& password) const;
    std::string deletingCommand(const std::string& user) const;

private:
    struct Directive {
        std::string name, value;
    };

    host::SiteFile accessFile_, passwordFile_;
    std::array<Directive, 4> directives_;
};

// Prints the command, then runs it. False when it could not be started.
[[nodiscard]] bool runShown(const std::string& command);

// A user is one line of the password file: a name with a line break would bring another one with it.
bool isUserName(const std::string& name);

}  // namespace zp
