// Configuration for the library's readers.
#pragma once

#include <string>

#include "sys/Descriptor.h"
#include "text/View.h"

namespace zpweb {

// A part of the configuration as it is in this change so far. It lives in memory.
class Readable {
public:
    // A block in its canonical form; one that is stopped behind comment marks. Readers find it by
    // domainOf().
    explicit Readable(const Block& block);
    explicit Readable(const std::string& text);
    const std::string& path() const { return path_; }

private:
    Descriptor copy_;
    std::string path_;
};

}  // namespace zpweb
