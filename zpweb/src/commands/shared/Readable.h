// Configuration for the library's readers.
#pragma once

#include <string>

#include "server/Configuration.h"
#include "sys/Descriptor.h"

namespace zpweb {

// A file of the configuration as it is in this change so far, with plain line ends and without the comments
// of live blocks, some of which the readers would take for live lines. It lives in memory.
class Readable {
public:
    explicit Readable(const ConfigurationFile& file);
    // The blocks of one site alone.
    Readable(const ConfigurationFile& file, const std::string& site);
    const std::string& path() const { return path_; }

private:
    explicit Readable(const std::string& text);

    Descriptor copy_;
    std::string path_;
};

}  // namespace zpweb
