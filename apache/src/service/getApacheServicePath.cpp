#include "CZPWebsite.h"
#include "host/FileSystem.h"
#include "host/Paths.h"

namespace host = zp::host;

std::string CZPWebsite::getApacheServicePath() {
    const std::string directory = host::path::ServiceScripts;
    for (const std::string& file : host::filesIn(directory)) {
        for (const char* service : {"apache", "apache2", "httpd", "httpd2"}) {
            if (file == service) {
                return directory + "/" + file;
            }
        }
    }
    return "";
}
