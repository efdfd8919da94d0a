#include "sys/Ground.h"

#include <sys/stat.h>

#include "sys/File.h"

namespace zpweb {

namespace {

std::string othersPartOnWay(const std::string& file) {
    for (size_t slash = file.find('/', 1);; slash = file.find('/', slash + 1)) {
        std::string part = file.substr(0, slash);
        struct stat status {};
        if (::lstat(part.c_str(), &status) != 0) {
            return {};
        }
        const bool sticky = (status.st_mode & S_ISVTX) != 0;
        const bool open = S_ISDIR(status.st_mode) && (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 && !sticky;
        const bool last = slash == std::string::npos;
        if (status.st_uid != 0 && (!last || S_ISLNK(status.st_mode))) {
            return part;
        }
        if (last) {
            return {};
        }
        if (open) {
            return part;
        }
    }
}

}  // namespace

std::string othersGround(const std::string& file) {
    const std::string part = othersPartOnWay(file);
    const auto real = realPathOf(file);
    return part.empty() && real.ok() ? othersPartOnWay(*real) : part;
}

std::string othersPart(const std::string& file) {
    struct stat status {};
    const std::string ground = othersGround(file);
    const bool others = ::stat(file.c_str(), &status) == 0 && status.st_uid != 0;
    return ground.empty() && others ? file : ground;
}

}  // namespace zpweb
