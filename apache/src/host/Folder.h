// Folders of a site, made and changed through an open folder: where a site's owner can write, no step is
// led elsewhere by a symbolic link.
#pragma once

#include <sys/types.h>

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/Accounts.h"

namespace zp::host {

class Folder {
public:
    // An existing folder; a link on the way to it, or in its place, is followed. Absent when there is none.
    static std::optional<Folder> open(const std::string& path);
    // The same, but only a link that nobody except the administrator can have placed is followed: one in a
    // folder of root's, or of this process's account, that no group and no other account can write.
    static std::optional<Folder> openGuarded(const std::string& path);

    Folder(Folder&& other) noexcept;
    Folder& operator=(Folder&& other) noexcept;
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    // Makes the folder `name` in this one. Absent when it could not be made or, because something stands in
    // its place, not be opened.
    std::optional<Folder> make(const std::string& name, mode_t mode) const;
    // The same, but a folder that stands there already will do.
    std::optional<Folder> makeOrEnter(const std::string& name, mode_t mode) const;

    // Exactly this mode, set-ID bits included. Whether it could be set is not examined.
    void setMode(mode_t mode) const;
    void setOwner(const Account& account) const;

    // For the calls that take an open folder and a name; good as long as this object.
    int descriptor() const { return descriptor_; }

private:
    explicit Folder(int descriptor) : descriptor_(descriptor) {}

    std::optional<Folder> enter(const std::string& name) const;  // never a link
    std::optional<std::string> administratorsLink(const std::string& name) const;

    int descriptor_;
};

// A path in two: the folder ("." when none is named) and the name in it.
struct Location {
    std::string folder, name;
};
Location locationOf(const std::string& path);

// The names of a folder's entries that are not folders themselves (a link to one counts as one), in the
// order in which the system lists them; none when it cannot be read.
std::vector<std::string> filesIn(const std::string& folder);

// Makes it the process's working folder. False when it cannot be entered.
bool enterFolder(const std::string& path);
// Enters the first of the folders that can be entered, and tells which; "" when none can.
std::string enterFirstOf(std::span<const char* const> folders);

// The permission bits, set-ID bits included, of what the path leads to.
std::optional<mode_t> modeOf(const std::string& path);

// The same place, named so that a link in it is not followed: without "/" and "/." at the end.
std::string withoutTrailingSlashes(std::string path);

bool isFolder(const std::string& path);  // a link to one counts
bool isLink(const std::string& path);    // also when it is written with "/" at its end
bool exists(const std::string& path);

}  // namespace zp::host
