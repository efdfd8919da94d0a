#include "shared/FolderProtection.h"

#include <ostream>

#include "FileHandling.h"
#include "conf/Text.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace zp {

namespace {

constexpr char Delimiter = ' ';
constexpr char CommentMark = '#';

}  // namespace

FolderProtection::FolderProtection(const std::string& folder)
    : accessFile_(folder + "/.htaccess"),
      passwordFile_(folder + "/.htpasswd"),
      directives_{{{"AuthUserFile", passwordFile_.path()},
                   {"AuthName", "\"Restricted Area\""},
                   {"AuthType", "Basic"},
                   {"require", "valid-user"}}} {}

bool FolderProtection::demandPassword() const {
    const bool isNew = !accessFile_.isPresent();
    if (isNew && !accessFile_.make()) {
        return false;
    }
    FileHandling file;
    for (const auto& [name, value] : directives_) {
        if (!file.isParamValueExistsInFile(accessFile_.path(), name, value, Delimiter, CommentMark) &&
            !file.addParamInFile(accessFile_.path(), name + Delimiter + value)) {
            return false;
        }
    }
    if (isNew) {
        accessFile_.setMode(ReadOnlyForAll);
    }
    return true;
}

void FolderProtection::lift() const {
    FileHandling file;
    for (const auto& [name, value] : directives_) {
        if (file.isParamValueExistsInFile(accessFile_.path(), name, value, Delimiter, CommentMark)) {
            file.delParamFromFile(accessFile_.path(), name, value, Delimiter, CommentMark);
        }
    }
}

std::string FolderProtection::makingCommand(const std::string& user, const std::string& password) const {
    return host::commandLine({host::program::PasswordTool, "-cb", passwordFile_.path(), user, password});
}

std::string FolderProtection::addingCommand(const std::string& user, const std::string& password) const {
    return host::commandLine({host::program::PasswordTool, "-b", passwordFile_.path(), user, password});
}

std::string FolderProtection::deletingCommand(const std::string& user) const {
    return host::commandLine({host::program::PasswordTool, "-D", passwordFile_.path(), user});
}

bool runShown(const std::string& command) {
    host::out() << "command=" << command << '\n';
    return host::runThroughPipe(command);
}

bool isUserName(const std::string& name) { return conf::isOneLine(name); }

}  // namespace zp
