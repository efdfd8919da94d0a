#include <ostream>

#include "CZPWebsite.h"
#include "conf/Text.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace conf = zp::conf;

namespace {

constexpr size_t AnswerLimit = 2000;

std::string_view firstLineOf(std::string_view text) { return conf::upTo(text, "\r\n"); }

// "Server version: Apache/2.4.57 (Debian)". Another program is asked when one gives no such answer.
std::string versionAnswer() {
    const auto& [apachectl, httpd, apache2] = zp::host::program::VersionQueries;
    std::string answer(firstLineOf(zp::host::firstLine(apachectl, AnswerLimit)));
    if (answer.size() <= 4) {
        answer = firstLineOf(zp::host::firstLine(httpd, AnswerLimit));
    }
    if (answer.size() < 5) {
        answer = firstLineOf(zp::host::firstLine(apache2, AnswerLimit));
    }
    return answer;
}

// Takes what stands before the first `end` off the front of `text`; false when there is none.
bool takeUpTo(char end, std::string_view& text, std::string_view& taken) {
    const size_t position = text.find(end);
    if (position == std::string_view::npos) {
        return false;
    }
    taken = text.substr(0, position);
    text.remove_prefix(position + 1);
    return true;
}

void parseVersion(std::string_view answer, int& major, int& minor, int& minorMinor) {
    std::string_view version;
    std::string_view part;
    if (!takeUpTo('/', answer, part) || !takeUpTo(' ', answer, version) || !takeUpTo('.', version, part)) {
        return;
    }
    major = conf::leadingNumber(part);
    if (!takeUpTo('.', version, part)) {
        return;
    }
    minor = conf::leadingNumber(part);
    if (!version.empty()) {
        minorMinor = conf::leadingNumber(version);
    }
}

}  // namespace

void getApacheVersion(int& major, int& minor, int& minorMinor) {
    major = minor = minorMinor = -1;
    const std::string answer = versionAnswer();
    if (answer.size() > 5) {
        parseVersion(answer, major, minor, minorMinor);
    }
    zp::host::out() << "major=" << major << "\nminor=" << minor << "\nminorMinor=" << minorMinor << '\n';
}
