#include "CZPWebsite.h"
#include "host/FileSystem.h"
#include "host/Paths.h"

namespace host = zp::host;

std::string CZPWebsite::getApachePIDFilePath() {
    const std::string folder = host::path::RunFolder;
    const std::vector<std::string> files = host::filesIn(folder);
    for (const char* server : {"apache", "httpd"}) {
        for (const std::string& file : files) {
            if (file.find(server) != std::string::npos) {
                return folder + "/" + file;
            }
        }
    }
    return host::exists(host::path::HttpdPidFile) ? host::path::HttpdPidFile : "";
}
