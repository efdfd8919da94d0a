// The fingerprint of what a path leads to: for a file the XXH3-128 of its content, as "xxhsum -H2" prints
// it, for a symbolic link its target. It tells whether somebody has changed it, not who.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "sys/Outcome.h"

namespace zpweb {

// Takes a text in pieces of any size.
class Hasher {
public:
    Hasher();
    ~Hasher();
    Hasher(const Hasher&) = delete;
    Hasher& operator=(const Hasher&) = delete;

    void take(std::string_view piece);
    std::string digits() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

std::string contentHash(std::string_view text);
std::string linkHash(std::string_view target);
// What stands at the path now; empty when there is nothing, like no file's where it is no plain file or one
// of an owner's that is too large, an error when that cannot be told.
Expected<std::string> currentHash(const std::string& path);

}  // namespace zpweb
