#include "CZPWebsite.h"
#include "host/FileSystem.h"
#include "host/Paths.h"

namespace host = zp::host;

std::string CZPWebsite::getApachePIDFilePath() {
    const std::string directory = host::path::RunDirectory;
    const std::vector<std::string> files = host::filesIn(directory);
    for (const char* server : {"apache", "httpd"}) {
        for (const std::string& file : files) {
            if (file.find(server) != std::string::npos) {
                return directory + "/" + file;
            }
        }
    }
    return host::exists(host::path::HttpdPidFile) ? host::path::HttpdPidFile : "";
}
