// How a block answers for a suspended site: by a file that it includes twice. Of redirections and proxied
// paths the first counts, of all else the last, so the file stands before what could come first, and at the
// end.
#pragma once

#include <string>
#include <string_view>

namespace zpweb {

// The directives of that file. The page is put into one line.
std::string suspensionFor(std::string_view page);
// What keeps a page from being put into a directive; empty when nothing does.
std::string pageFault(std::string_view page);
// The page for those who have none of their own.
std::string_view defaultPage();

// The block's text with the line where it comes before all that redirects or is passed on; behind the
// ServerName line where nothing of the kind stands before that.
std::string withEarlyLine(std::string_view block, const std::string& line);

}  // namespace zpweb
