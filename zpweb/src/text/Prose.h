// Lines of comments that could not have been lines of a configuration.
#pragma once

#include <string_view>

namespace zpweb {

// The text behind a comment mark, white space stepped over. Only what no server can have taken for a
// directive is prose: "The name of the site", "...", "Note:", "for example.com".
bool isProse(std::string_view text);

}  // namespace zpweb
