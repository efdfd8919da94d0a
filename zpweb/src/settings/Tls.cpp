#include "settings/Tls.h"

#include "input/Json.h"

#include "input/Fields.h"

namespace zpweb {

namespace {

// TLS 1.2; those of TLS 1.3 are the library's own.
constexpr const char* Ciphers =
    "ECDHE-ECDSA-AES128-GCM-SHA256:ECDHE-RSA-AES128-GCM-SHA256:ECDHE-ECDSA-AES256-GCM-SHA384:"
    "ECDHE-RSA-AES256-GCM-SHA384:ECDHE-ECDSA-CHACHA20-POLY1305:ECDHE-RSA-CHACHA20-POLY1305:"
    "DHE-RSA-AES128-GCM-SHA256:DHE-RSA-AES256-GCM-SHA384:DHE-RSA-CHACHA20-POLY1305";

}  // namespace

std::string askedOf(const TlsSetting& setting) {
    return SortedJson{{"certificate", setting.files.certificate},
                      {"key", setting.files.key},
                      {"redirect", setting.redirect},
                      {"any-name", setting.anyName},
                      {"hsts", setting.hsts},
                      {"port", setting.port},
                      {"made", setting.made},
                      {"fingerprint", setting.fingerprint}}
        .dump();
}

std::optional<TlsSetting> tlsFrom(const std::string& asked) {
    Fields fields(asked);
    TlsSetting setting;
    setting.files = {fields.text("certificate"), fields.text("key")};
    setting.redirect = fields.flag("redirect");
    setting.anyName = fields.flag("any-name");
    setting.hsts = fields.number("hsts");
    setting.port = static_cast<int>(fields.number("port", setting.port));
    setting.made = fields.texts("made");
    setting.fingerprint = fields.text("fingerprint");
    return fields.sound() ? std::optional(setting) : std::nullopt;
}

std::string directivesOf(const TlsSetting& setting) {
    std::string text = "SSLEngine on\nSSLCertificateFile \"" + setting.files.certificate +
                       "\"\nSSLCertificateKeyFile \"" + setting.files.key +
                       "\"\nSSLProtocol all -SSLv3 -TLSv1 -TLSv1.1\nSSLCipherSuite " + Ciphers +
                       "\nSSLHonorCipherOrder off\nSSLSessionTickets off\n";
    if (setting.hsts > 0) {
        text += "Header always set Strict-Transport-Security \"max-age=" + std::to_string(setting.hsts) +
                "\"\n";
    }
    return text;
}

}  // namespace zpweb
