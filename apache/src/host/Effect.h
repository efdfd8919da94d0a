// A step on the ground outside of the files that an operation edits: a directory or an empty file that is
// made, an owner or a mode that is given. It is a value, so that whoever stages an operation can write it
// down and take it once the change is certain.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace zp::host {

struct Effect {
    enum class Step {
        MakeDirectory,     // one that stands there already is a failure
        ProvideDirectory,  // one that stands there already will do, and is given access
        MakeFile,          // empty; one that stands there already stays as it is
        GiveDirectory,     // access to a directory, in whose place a link of the administrator's may stand
        GiveAccess,        // to what is there; with `deep` to all that a directory holds, too
        RemoveTree,        // a directory with all that it holds, links as links
    };
    Step step = Step::GiveAccess;
    std::string path;
    std::optional<uid_t> user{};
    std::optional<gid_t> group{};
    std::optional<mode_t> mode{};  // with `deep` a directory keeps its set-ID bits besides
    bool deep = false;
    // The inode of the file or directory that is meant: something else in its place gets nothing.
    std::optional<ino_t> inode{};
};

// Takes the step on held ground: no link that others than the administrator can have placed is followed on
// the way, none at all in the place of a tree, and links in a tree are passed over. Modes are exact,
// whatever the umask. False when not all of it could be done. Where others than the administrator write, a
// file with a second link gets nothing, no file becomes set-ID, and nothing changes its owner that is
// neither the administrator's nor of who owns the directory or is to own it.
[[nodiscard]] bool carryOut(const Effect& effect);

}  // namespace zp::host
