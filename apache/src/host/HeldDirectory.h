// Held ground: a directory that is held open, so that no step in it can be led elsewhere.
//
// Where a site's owner can write, a path means nothing: between two looks at it, any part of it may have
// become a link, or another file. Files there are reached through this and HeldFile alone.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "host/Descriptor.h"

namespace zp::host {

class HeldDirectory {
public:
    // Why a directory could not be held: the system's error number or, where it is not empty, the name of a
    // link on the way that others than the administrator can have placed.
    struct Obstacle {
        int error = 0;
        std::string link;
    };

    // An existing directory, reached component by component. On the way, and in its place, only a link is
    // followed that nobody except the administrator can have placed: one of root's, or of this process's
    // account, in a directory that belongs to these and that no group and no other account can write.
    static std::optional<HeldDirectory> hold(const std::string& path, Obstacle* obstacle = nullptr);

    // Good as long as this object.
    int descriptor() const { return directory_.number(); }
    Descriptor release() { return std::move(directory_); }

    // Can others than the administrator place something in it?
    bool othersWrite() const;
    // Is this an owner that its files can be expected to have: root, this process's
    // account, or the owner of the directory?
    bool mayOwn(uid_t owner) const;

private:
    explicit HeldDirectory(Descriptor directory) : directory_(std::move(directory)) {}

    Descriptor directory_;
};

// Is that the error of a look at what an account has mounted (FUSE)? It lets in nobody else, not even the
// administrator.
bool isShutOut(int error);

// Makes a directory that this process's account alone can enter, and opens it. Not open when it could not
// be made, or when what stands there then is not that: a directory of the same account's that the owner of
// `parent` has put in its place has something in it, or lets others in.
Descriptor makeDirectoryIn(int parent, const std::string& name);

// Is the directory one of the administrator's that is closed to others and has something in it, and may
// these have moved it to where it is, in `parent`? Who opens it, or gives it away, opens what it holds.
bool mayBeMovedInto(const HeldDirectory& parent, int directory);

// Where the link `name` of the directory leads, unless others than the administrator can have placed it.
std::optional<std::string> administratorsLink(const HeldDirectory& directory, const std::string& name);

}  // namespace zp::host
