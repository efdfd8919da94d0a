// How a site is switched to its Rails application and back: both directions read and change its
// DocumentRoot in the same way, each in words of its own.
#pragma once

#include <string>

namespace zp::rails {

// What a direction says when it cannot go on.
struct Messages {
    const char *unreadable, *malformed, *notFound;                // reading
    const char *updateUnreadable, *updateNoScratch, *notUpdated;  // changing
};

// Prints the message and hands the result on.
int fail(int result, const char* message);

// 0, or the result after its message was printed.
[[nodiscard]] int readDocumentRoot(const std::string& file, const std::string& domain,
                                   const Messages& messages, std::string& documentRoot);
[[nodiscard]] int updateDocumentRoot(const std::string& file, const std::string& domain,
                                     const Messages& messages, const std::string& documentRoot);

}  // namespace zp::rails
