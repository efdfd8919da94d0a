// Virtual directories of a test case.
#pragma once

#include <CZPVirtualDirectory.h>

#include <cstdio>
#include <string>

#include "support/FakeTools.h"

namespace zp::test {

// What a caller fills into a record.
struct Directory {
    std::string domain = "example.com";
    std::string folder = "/home/files";
    std::string allow = "", deny = "";
    char order = 0;
    SOptions options{};
    char authenticated = 0, rails = 0, perl = 0;
    std::string name = "";
    std::string parent = "/var/www";
};

inline SDDir recordOf(const Directory& directory) {
    SDDir record{};
    const auto fill = [](auto& field, const std::string& text) {
        std::snprintf(field, sizeof field, "%s", text.c_str());
    };
    fill(record.DomainName, directory.domain);
    fill(record.DirPath, directory.folder);
    fill(record.DirName, directory.name);
    fill(record.WebAdminPath, directory.parent);
    fill(record.Allow, directory.allow);
    fill(record.Deny, directory.deny);
    record.Order = directory.order;
    record.Options = directory.options;
    record.AnonAccess = directory.authenticated;
    record.RubyOnRails = directory.rails;
    record.PerlEnabled = directory.perl;
    return record;
}

// The installed web server says that it has this version.
inline void pretendVersion(const FakeTools& tools, const std::string& version) {
    tools.answer("apachectl", "Server version: Apache/" + version + " (Debian)\n");
}

inline int createDirectory(const std::string& file, const Directory& directory, int adminFlag = 0) {
    SDDir record = recordOf(directory);
    return CZPVirtualDirectory(nullptr, file.c_str()).CreateVirtualDirectory(&record, adminFlag);
}

inline int updateDirectory(const std::string& file, const Directory& directory) {
    SDDir record = recordOf(directory);
    return CZPVirtualDirectory(nullptr, file.c_str()).UpdateVirtualDirectory(&record);
}

inline int deleteDirectory(const std::string& file, const std::string& folder) {
    return CZPVirtualDirectory(nullptr, file.c_str()).DeleteVirtualDirectory(folder.c_str());
}

}  // namespace zp::test
