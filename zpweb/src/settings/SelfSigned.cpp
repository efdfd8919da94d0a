#include "settings/SelfSigned.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <memory>

#include "sys/CertificateChain.h"
#include "sys/Fingerprint.h"

namespace zpweb {

namespace {

constexpr long TenYears = 10L * 365 * 24 * 60 * 60;

// What a writer of PEM has written.
template <class Write>
std::string pem(const Write& write) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
    char* text = nullptr;
    if (write(memory.get()) != 1) {
        return {};
    }
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<size_t>(size)};
}

// Clients look for the name there alone.
bool addName(X509* certificate, const std::string& name) {
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, ("DNS:" + name).c_str()),
        X509_EXTENSION_free);
    return extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1;
}

bool fill(X509* certificate, EVP_PKEY* key, const std::string& name) {
    long serial = 0;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial - 1) != 1) {
        return false;
    }
    X509_NAME* subject = X509_get_subject_name(certificate);
    return X509_set_version(certificate, X509_VERSION_3) == 1 &&
           ASN1_INTEGER_set(X509_get_serialNumber(certificate), serial) == 1 &&
           X509_gmtime_adj(X509_getm_notBefore(certificate), 0) != nullptr &&
           X509_gmtime_adj(X509_getm_notAfter(certificate), TenYears) != nullptr &&
           X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC,
                                      reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1,
                                      0) == 1 &&
           X509_set_issuer_name(certificate, subject) == 1 && X509_set_pubkey(certificate, key) == 1 &&
           addName(certificate, name) && X509_sign(certificate, key, EVP_sha256()) != 0;
}

}  // namespace

Expected<PemPair> selfSigned(const std::string& name) {
    const KeyPointer key(EVP_EC_gen("P-256"));
    const CertificatePointer certificate(X509_new());
    if (key == nullptr || certificate == nullptr || !fill(certificate.get(), key.get(), name)) {
        return failure("no certificate could be made: " + opensslError());
    }
    return PemPair{pem([&](BIO* memory) { return PEM_write_bio_X509(memory, certificate.get()); }),
                   pem([&](BIO* memory) {
                       return PEM_write_bio_PrivateKey(memory, key.get(), nullptr, nullptr, 0, nullptr,
                                                       nullptr);
                   })};
}

}  // namespace zpweb
