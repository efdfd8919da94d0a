#include "ApacheHelper.h"
#include "Results.h"
#include "RubyOnRails.h"
#include "host/Paths.h"
#include "host/Report.h"
#include "host/Shell.h"
#include "shared/RailsDocumentRoot.h"

namespace host = zp::host;
namespace rails = zp::rails;

namespace {

constexpr rails::Messages Messages{
    "Error occured while getting DocumentRoot, Cannot open apache configuration file",
    "Error occured while getting DocumentRoot, error in  apache configuration file",
    "Error occured while getting DocumentRoot, DocumentRoot not found",
    "Error occured while Updating DocumentRoot, Cannot open apache configuration file",
    "Error occured while Updating DocumentRoot, Cannot open Temp file",
    "Error occured while updating DocumentRoot, Cannot update"};

}  // namespace

int RubyOnRails::RORToDefault(std::string domainName, std::string railsApplicationName) {
    host::report(TrackManager, "RORtoDefault",
                 {{"DomainName", domainName}, {"RailsApplicationName", railsApplicationName}});
    std::string documentRoot;
    int failure = rails::readDocumentRoot(m_apacheConfFile, domainName, Messages, documentRoot);
    if (failure != 0) {
        return failure;
    }
    const std::string publicDirectory = railsApplicationName + "/public";
    if (!documentRoot.ends_with("/" + publicDirectory)) {
        return rails::fail(zp::result::rails::NoDocumentRoot, Messages.notFound);
    }
    const std::string content = documentRoot.substr(0, documentRoot.size() - publicDirectory.size());
    // No blank behind the option, so the command removes nothing: an application outlives its site's
    // switch.
    host::run({host::program::Remove, "-rf" + content + railsApplicationName});
    failure = rails::updateDocumentRoot(m_apacheConfFile, domainName, Messages, content + "html");
    if (failure != 0) {
        return failure;
    }
    return ApacheHelper().Apache_deleteDirectoryTag(m_apacheConfFile, domainName, documentRoot);
}
