#include "shared/RailsDocumentRoot.h"

#include <ostream>

#include "ApacheHelper.h"
#include "host/Machine.h"

namespace zp::rails {

int fail(int result, const char* message) {
    zp::host::out() << message << '\n';
    return result;
}

int readDocumentRoot(const std::string& file, const std::string& domain, const Messages& messages,
                     std::string& documentRoot) {
    switch (ApacheHelper().Apache_getDirectiveInVH(file, domain, "DocumentRoot", documentRoot, true)) {
        case 0:
            return 0;
        case 1:
            return fail(result::ConfigurationNotOpened, messages.unreadable);
        case 3:
            return fail(result::Malformed, messages.malformed);
        default:
            return fail(result::NoDocumentRoot, messages.notFound);
    }
}

int updateDocumentRoot(const std::string& file, const std::string& domain, const Messages& messages,
                       const std::string& documentRoot) {
    switch (ApacheHelper().Apache_UpdateDirectiveInVH(file, domain, "DocumentRoot", documentRoot, true)) {
        case 0:
            return 0;
        case 1:
            return fail(result::ConfigurationNotOpened, messages.updateUnreadable);
        case 2:
            return fail(result::ScratchNotOpened, messages.updateNoScratch);
        default:
            return fail(result::NotUpdated, messages.notUpdated);
    }
}

}  // namespace zp::rails
