// Rotation of a site's access log.
#include <ctime>
#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Text.h"
#include "host/File.h"
#include "host/Folder.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

namespace {

constexpr long Megabyte = 1'048'576;

// Packs the log in its own folder, which becomes the working folder, and removes it. Whether the packing
// worked is not examined.
void packAndRemove(const std::string& log) {
    const size_t slash = log.rfind('/');
    std::string name = log.substr(slash + 1);  // the whole of a log without a folder
    const bool entered = slash == std::string::npos || host::enterFolder(log.substr(0, slash + 1));
    if (name.starts_with('-')) {
        name.insert(0, "./");  // no option of the command
    }
    // The same archive for every log of the folder and for the whole hour.
    const std::string archive = "access_log-" + currentTimeStamp() + ".tar.gz";
    if (host::isLink(archive)) {
        host::removeFile(archive);  // the archive is not to be written where a link leads
    }
    host::out() << host::commandLine({host::program::Archive, "-cvzf", archive, name}) << '\n';
    host::run({host::program::Archive, "-cvzf", archive, name});
    host::removeFile(entered ? name : log);
}

}  // namespace

int CZPWebsite::rotateLog(std::string szHttpdConfFile, std::string szDomainName,
                          std::string szThresholdSize, std::string szOption) {
    std::string value;
    if (ApacheHelper().Apache_getDirectiveInVH(szHttpdConfFile, szDomainName, "CustomLog", value, false) !=
            0 ||
        szThresholdSize.empty()) {
        return result::log::NotRotated;
    }
    const std::string log(conf::splitAtBlank(value).keyword);  // the format's name stands behind it
    const auto size = host::sizeOfFile(log);
    if (!size) {
        host::out() << "Unable to get File Size\n";
        return result::log::NotRotated;
    }
    if (*size / Megabyte < conf::leadingNumber(szThresholdSize)) {
        host::out() << *size << '\n';
        return result::log::Rotated;
    }
    if (conf::equalIgnoringCase(szOption, "DEL")) {
        host::out() << "Remove the file\n";
        host::removeFile(log);
        return result::log::Rotated;
    }
    if (conf::equalIgnoringCase(szOption, "ZIPandDEL")) {
        host::out() << "Zip and remove the file\n";
        packAndRemove(log);
        return result::log::Rotated;
    }
    return result::log::NotRotated;
}

std::string currentTimeStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    const auto text = [](int number) { return std::to_string(number); };
    return text(local.tm_mday) + "-" + text(local.tm_mon + 1) + "-" + text(local.tm_year + 1900) + "-" +
           text(local.tm_hour);
}
