// A site's settings as the library reads them.
#pragma once

#include <string>
#include <string_view>

#include "CZPWebsite.h"
#include "commands/shared/Operation.h"

namespace zpweb {

struct SiteInfo {
    std::string domain;
    UpdateVHost record{};
    char result = 0;

    SiteInfo(Output& output, const std::string& file, std::string_view name) : domain(name) {
        record.pDomain = domain.c_str();
        CZPWebsite website(nullptr, file.c_str());
        result = quietly(output, [&] { return website.GetWebsiteInfo(&record); });
    }
    SiteInfo(const SiteInfo&) = delete;
    SiteInfo& operator=(const SiteInfo&) = delete;
};

}  // namespace zpweb
