// site list
#include <algorithm>
#include <unordered_set>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "conf/Text.h"
#include "input/HostName.h"

namespace zpweb {

namespace {

constexpr auto Names = flag("--names", "Only the names, as the panel's own listing finds them");

constexpr int Listed = 28;

bool isReachable(std::string_view name) {
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return static_cast<unsigned char>(c) > ' ' && c != ':' && c != '"'; });
}

bool isSuspended(std::string_view root) { return zp::conf::equalIgnoringCase(root, "message.htm"); }

// A name that stands twice at one address is served by the first block only; one with more on its line than
// the name is not found by any operation.
class Flags {
public:
    std::string_view of(const Block& block) {
        claim_.assign(block.name);
        std::transform(claim_.begin(), claim_.end(), claim_.begin(), zp::conf::lower);
        claim_.append(" ").append(block.address);
        if (!block.stopped && !claimed_.insert(claim_).second) {
            return "duplicate";
        }
        return isReachable(block.name) ? "" : "unreachable";
    }

private:
    std::unordered_set<std::string> claimed_;
    std::string claim_;
};

void addRow(List& rows, const Place& place, std::string_view flag) {
    const Block& block = *place.block;
    rows.row().add("name", block.name);
    const std::string readable = readableHostName(std::string(block.name));
    if (readable != block.name && !readable.empty()) {
        rows.add("readable", readable);
    }
    rows.add("state", block.stopped             ? "stopped"
                      : isSuspended(block.root) ? "suspended"
                                                : "running")
        .add("address", block.address)
        .add("root", block.root)
        .add("file", place.file->path())
        .add("line", static_cast<long>(block.nameLine + 1))
        .add("place", place.text());
    if (!flag.empty()) {
        rows.add("flag", flag);
    }
}

bool hasInternationalisedName(const Configuration& configuration) {
    return std::any_of(configuration.files().begin(), configuration.files().end(), [](const auto& file) {
        return std::any_of(file->blocks().begin(), file->blocks().end(),
                           [](const Block& block) { return zp::conf::contains(block.name, "xn--"); });
    });
}

// As the panel's own listing finds them.
Outcome listNames(Session& session) {
    CZPWebsite website(nullptr, session.settings.configuration.c_str());
    StringVector names;
    const int result = quietly(session.output, [&] { return website.ListWebsites(names); });
    List& rows = session.output.list("sites", {"name"});
    for (const std::string& name : names) {
        rows.row().add("name", name);
    }
    return resultOf("ListWebsites", result, {Listed});
}

Outcome list(Session& session, const Configuration& configuration, const Arguments& given) {
    if (given[Names]) {
        return listNames(session);
    }
    std::vector<std::string> columns = {"name", "state", "address", "root", "place", "flag"};
    if (hasInternationalisedName(configuration)) {
        columns.insert(columns.begin() + 1, "readable");
    }
    List& rows = session.output.list("sites", std::move(columns));
    Flags flags;
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            if (!block.name.empty()) {
                addRow(rows, {file.get(), &block}, flags.of(block));
            }
        }
    }
    return done();
}

}  // namespace

Command siteList() {
    return {
        .words = "site list",
        .summary = "List the websites",
        .action = list,
        .parameters = {Names},
        .operations = {"CZPWebsite::ListWebsites", "CZPWebsite::VHostsInIncFile"},
        .more =
            "A site is flagged \"duplicate\" when its name stands before at the same address, so that it "
            "is "
            "never served, and \"unreachable\" when more than the name stands on its ServerName line, so "
            "that no operation finds it.",
        .examples = {"site list", "site list --json"},
    };
}

}  // namespace zpweb
