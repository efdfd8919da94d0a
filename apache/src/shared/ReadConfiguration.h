// A manager's configuration file, open for reading, or the result that tells why it is not: 21 or 22.
#pragma once

#include "Results.h"
#include "conf/LineReader.h"

namespace zp {

class ReadConfiguration {
public:
    // `complaint` is printed when the file cannot be opened; `path` may be null.
    ReadConfiguration(const char* path, size_t bound, const char* complaint = "");

    bool isOpen() const { return reader_.isOpen(); }
    char failure() const { return hasPath_ ? result::ConfigurationNotOpened : result::NoConfigurationPath; }
    [[nodiscard]] bool read(conf::Line& line) { return reader_.read(line); }
    conf::LineReader& reader() { return reader_; }

    // What an operation answers that has read on to the end: a file that could not be read to its end is
    // one that cannot be opened.
    char atEnd(char result) const { return reader_.failed() ? failure() : result; }

private:
    bool hasPath_;
    conf::LineReader reader_;
};

}  // namespace zp
