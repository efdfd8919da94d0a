// The times of directories in which a dry run makes something and removes it again.
#pragma once

#include <sys/stat.h>

#include <map>
#include <string>

namespace zpweb {

class DirectoryTimes {
public:
    void remember(const std::string& directory);  // a directory that is not there is none to remember
    void restore();                               // of those that still stand there

private:
    std::map<std::string, struct stat> before_;
};

}  // namespace zpweb
