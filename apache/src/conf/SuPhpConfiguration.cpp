#include "conf/SuPhpConfiguration.h"

#include <fcntl.h>

#include <utility>

#include "conf/Text.h"
#include "host/Descriptor.h"
#include "host/Paths.h"
#include "host/ReadAll.h"

namespace zp::conf {

std::optional<std::string> suPhpConfiguration(const std::string& user, const std::string& webspace,
                                              const std::string& php) {
    constexpr const char* User = "{APACHE_USER}";
    const host::Descriptor file(
        ::open(host::suphp::Template, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    auto text = file.isOpen() ? host::readAll(file.number()) : std::nullopt;
    for (const auto& [placeholder, value] : {std::pair(User, user.empty() ? User : user),
                                             {"{WEBSPACE_PATH}", webspace},
                                             {"{PHP-CGI_PATH}", "php:" + php},
                                             {"{PHP5-CGI_PATH}", "php:" + php}}) {
        if (!text || !isOneLine(value)) {
            return std::nullopt;
        }
        text = replaceAll(*text, placeholder, value);
    }
    return text;
}

}  // namespace zp::conf
