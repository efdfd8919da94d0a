#include "sys/CertificateChain.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include "sys/File.h"
#include "sys/Fingerprint.h"
#include "sys/OwnersFile.h"

namespace zpweb {

namespace {

struct FreeBio {
    void operator()(BIO* memory) const { BIO_free(memory); }
};
using BioPointer = std::unique_ptr<BIO, FreeBio>;

BioPointer reader(const std::string& text) {
    return BioPointer(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

int noPassphrase(char*, int, int, void* asked) {
    *static_cast<bool*>(asked) = true;
    return 0;
}

}  // namespace

Expected<std::vector<CertificatePointer>> readChain(const std::string& file) {
    const auto text = readFile(file, LargestOwnersFile);
    if (!text.ok()) {
        return text.outcome();
    }
    const BioPointer memory = reader(*text);
    std::vector<CertificatePointer> chain;
    bool asked = false;
    // The server takes a "TRUSTED CERTIFICATE" for its own, but for none that comes behind it.
    for (auto* read = PEM_read_bio_X509_AUX;
         X509* certificate = read(memory.get(), nullptr, noPassphrase, &asked); read = PEM_read_bio_X509) {
        chain.emplace_back(certificate);
    }
    const unsigned long error = ERR_peek_last_error();  // the end of the file counts as one
    const bool isWhole = ERR_GET_LIB(error) == ERR_LIB_PEM && ERR_GET_REASON(error) == PEM_R_NO_START_LINE;
    static_cast<void>(opensslError());
    if (asked) {
        return failure(file + ": a passphrase protects a certificate in it, which nobody is there to type");
    }
    if (!isWhole) {
        return failure(file + ": a certificate in it is damaged");
    }
    return chain.empty() ? Expected<std::vector<CertificatePointer>>(
                               failure(file + ": it holds no certificate in PEM form"))
                         : Expected(std::move(chain));
}

Expected<KeyPointer> readKey(const std::string& file) {
    const auto text = readFile(file, LargestOwnersFile);
    if (!text.ok()) {
        return text.outcome();
    }
    bool asked = false;
    KeyPointer key(PEM_read_bio_PrivateKey(reader(*text).get(), nullptr, noPassphrase, &asked));
    static_cast<void>(opensslError());
    if (asked) {
        return failure(file +
                       ": a passphrase protects it, and the server starts without anybody to type "
                       "it; store it without one (openssl pkey)");
    }
    return key != nullptr ? Expected(std::move(key))
                          : failure(file + ": it holds no private key in PEM form");
}

bool needsPassphrase(const std::string& keyFile) {
    const auto text = readFile(keyFile, LargestOwnersFile);
    bool asked = false;
    if (text.ok()) {
        const KeyPointer key(PEM_read_bio_PrivateKey(reader(*text).get(), nullptr, noPassphrase, &asked));
        static_cast<void>(opensslError());
    }
    return asked;
}

bool isPair(const std::string& certificateFile, const std::string& keyFile) {
    const auto chain = readChain(certificateFile);
    const auto key = readKey(keyFile);
    const bool fits =
        chain.ok() && key.ok() && X509_check_private_key(chain->front().get(), key->get()) == 1;
    static_cast<void>(opensslError());
    return fits;
}

}  // namespace zpweb
