// What the server writes into its error log while something is tried.
#pragma once

#include <string>

namespace zpweb {

class ErrorLog {
public:
    // From its present end on. A log that is no file says nothing.
    explicit ErrorLog(std::string path);
    // The last line of weight that was written since; empty when there is none.
    std::string said() const;

private:
    std::string path_;
    size_t begin_ = 0;
};

}  // namespace zpweb
