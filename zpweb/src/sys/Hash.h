// A fingerprint of a file's content, to tell whether somebody has changed it. It is fast and not meant
// against forgery.
#pragma once

#include <string>
#include <string_view>

namespace zpweb {

std::string contentHash(std::string_view text);  // 32 hexadecimal digits

}  // namespace zpweb
