#include "commands/shared/Overrides.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/DirectoryPaths.h"
#include "sys/OwnersFile.h"
#include "text/Restrictions.h"
#include "text/View.h"

namespace zpweb {

namespace {

struct Override {
    std::string path, value = "None";
    bool served = false;
};

void look(Override& found, const Statements& statements, const std::string& directory) {
    for (const Statement& statement : statements) {
        const bool root = statement.is("DocumentRoot") && isBelow(directory, statement.argument(0));
        found.served = found.served || root;
        if (!statement.is("AllowOverride") || statement.scope == None ||
            !statements[statement.scope].opens("Directory")) {
            continue;
        }
        const std::string path = pathOf(statements[statement.scope]);
        if (isAbout(path, directory) && path.size() >= found.path.size()) {
            found.path = path;
            found.value.clear();
            for (const Word& word : statement.words()) {
                found.value += " " + word.value();
            }
        }
    }
}

bool admitsPasswords(const std::string& value) {
    std::string lower(value);
    std::transform(lower.begin(), lower.end(), lower.begin(), zp::conf::lower);
    return zp::conf::contains(lower, "all") || zp::conf::contains(lower, "authconfig");
}

}  // namespace

Outcome heedsAccessFiles(const Configuration& configuration, const std::string& directory) {
    Override found;
    for (const ConfigurationFile* file : configuration.namingAbove(directory)) {
        look(found, Statements(file->content().text()), directory);
    }
    return !found.served || admitsPasswords(found.value)
               ? done()
               : failure(Status::Refused,
                         "the server does not heed " + directory + "/.htaccess (AllowOverride" +
                             (found.path.empty() ? " None" : found.value + " for " + found.path) +
                             "): protect it with \"vdir set SITE " + directory +
                             " --protect\", or allow AuthConfig there");
}

std::string accessLineIn(const std::string& directory) {
    const auto text = readOwnersFile(directory + "/.htaccess");
    const Statements statements(text.ok() ? std::string_view(*text) : std::string_view());
    const auto line = std::find_if(statements.begin(), statements.end(), isRestriction);
    return line == statements.end() ? ""
                                    : directory + "/.htaccess:" + std::to_string(line->lines.first + 1);
}

}  // namespace zpweb
