// The directives by which a directory runs scripts.
#pragma once

#include <string_view>

namespace zp::conf {

inline constexpr std::string_view PerlHandler = "AddHandler cgi-script cgi pl";

// A Rails application behind FastCGI. Whoever makes its directory writes `NoOverride`, then what else the
// directory needs, then `Dispatch`.
namespace rails {
inline constexpr std::string_view NoOverride = "AllowOverride none";
inline constexpr std::string_view Handler = "AddHandler fastcgi-script .fcgi";
inline constexpr std::string_view Dispatch[] = {
    Handler,
    "RewriteEngine On",
    "RewriteRule ^$ index.html [QSA]",
    "RewriteRule ^([^.]+)$ $1.html [QSA]",
    "RewriteCond %{REQUEST_FILENAME} !-f",
    "RewriteRule ^(.*)$ dispatch.fcgi [QSA,L]",
};
}  // namespace rails

}  // namespace zp::conf
