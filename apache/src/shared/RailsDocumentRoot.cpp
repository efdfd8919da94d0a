#include "shared/RailsDocumentRoot.h"

#include <ostream>

#include "ApacheHelper.h"
#include "Results.h"
#include "host/Machine.h"

namespace zp::rails {

int fail(int result, const char* message) {
    zp::host::out() << message << '\n';
    return result;
}

int readDocumentRoot(const std::string& file, const std::string& domain, const Messages& messages,
                     std::string& documentRoot) {
    switch (ApacheHelper().Apache_getDirectiveInVH(file, domain, "DocumentRoot", documentRoot, true)) {
        case result::helper::Done:
            return result::rails::Done;
        case result::helper::FileNotOpened:
            return fail(result::rails::ConfigurationNotOpened, messages.unreadable);
        case result::helper::QuotesMissing:
            return fail(result::rails::Malformed, messages.malformed);
        default:
            return fail(result::rails::NoDocumentRoot, messages.notFound);
    }
}

int updateDocumentRoot(const std::string& file, const std::string& domain, const Messages& messages,
                       const std::string& documentRoot) {
    switch (ApacheHelper().Apache_UpdateDirectiveInVH(file, domain, "DocumentRoot", documentRoot, true)) {
        case result::helper::Done:
            return result::rails::Done;
        case result::helper::FileNotOpened:
            return fail(result::rails::ConfigurationNotOpened, messages.updateUnreadable);
        case result::helper::TemporaryNotCreated:
            return fail(result::rails::ScratchNotOpened, messages.updateNoScratch);
        default:
            return fail(result::rails::NotUpdated, messages.notUpdated);
    }
}

}  // namespace zp::rails
