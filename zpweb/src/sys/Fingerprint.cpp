#include "sys/Fingerprint.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <array>

namespace zpweb {

std::string fingerprintOf(const X509* certificate) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    if (certificate == nullptr || X509_digest(certificate, EVP_sha256(), digest.data(), &size) != 1) {
        return {};
    }
    constexpr std::string_view Digits = "0123456789abcdef";
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        text += Digits[digest[i] >> 4U];
        text += Digits[digest[i] & 15U];
    }
    return text;
}

std::string opensslError() {
    const unsigned long code = ERR_get_error();
    const char* reason = code == 0 ? nullptr : ERR_reason_error_string(code);
    ERR_clear_error();
    return reason == nullptr ? "no reason given" : reason;
}

}  // namespace zpweb
