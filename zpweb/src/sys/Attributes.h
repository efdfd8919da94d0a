// What a file carries beside its text: owner, mode, ACL and extended attributes.
#pragma once

#include <string>

#include "sys/Descriptor.h"
#include "sys/Outcome.h"

namespace zpweb {

// Gives an open file those of another, but for set-ID bits.
Outcome takeOverAttributes(const std::string& from, const Descriptor& to);
// The same of open files; `path` is for messages.
enum class ModeBits { All, WithoutSetId };
Outcome takeOverAttributes(const Descriptor& from, const Descriptor& to, const std::string& path,
                           ModeBits bits);

}  // namespace zpweb
