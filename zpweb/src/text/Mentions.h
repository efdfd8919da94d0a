// Where the text of a directive speaks of a host.
#pragma once

#include <string_view>

namespace zpweb {

// Does it name the host, with "www." before it or without, in any letter case? In an address, as a word or
// as an expression says it ("shop\.example"), but not as a part of another host's name, of a path or of an
// address of mail.
bool mentions(std::string_view text, std::string_view host);

}  // namespace zpweb
