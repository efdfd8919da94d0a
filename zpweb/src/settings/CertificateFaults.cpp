// What would make clients, or the server itself, turn away from a certificate.
#include <grp.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <sys/stat.h>

#include <array>

#include "settings/Certificate.h"
#include "sys/CertificateChain.h"
#include "sys/File.h"
#include "sys/Fingerprint.h"
#include "sys/Ground.h"
#include "sys/GuardedDirectory.h"
#include "sys/Look.h"

namespace zpweb {

namespace {

using Texts = std::vector<std::string>;
using Chain = std::vector<CertificatePointer>;

std::string dayOf(std::time_t moment) {
    std::tm parts{};
    ::gmtime_r(&moment, &parts);
    std::array<char, 16> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%d", &parts);
    return text.data();
}

// Debian's group for keys.
bool mayReadKeys(gid_t group) {
    const ::group* entry = ::getgrnam("ssl-cert");
    return group == 0 || (entry != nullptr && entry->gr_gid == group);
}

void addDates(Texts& faults, const std::string& file, const Chain& chain, std::time_t now) {
    for (size_t i = 0; i < chain.size(); ++i) {
        const std::string which = i == 0 ? "" : " (certificate " + std::to_string(i + 1) + " of the file)";
        const std::time_t begin = timeOf(X509_get0_notBefore(chain[i].get()));
        const std::time_t end = timeOf(X509_get0_notAfter(chain[i].get()));
        if (end < now) {
            faults.push_back(file + ": it expired on " + dayOf(end) + which);
        } else if (begin > now) {
            faults.push_back(file + ": it is not valid before " + dayOf(begin) + which);
        }
    }
}

void addOrder(Texts& faults, const std::string& file, const Chain& chain) {
    for (size_t i = 0; i + 1 < chain.size(); ++i) {
        if (X509_check_issued(chain[i + 1].get(), chain[i].get()) != X509_V_OK) {
            faults.push_back(file + ": certificate " + std::to_string(i + 2) +
                             " is not the issuer of certificate " + std::to_string(i + 1) +
                             "; expected the server's own, then each one's issuer");
        }
    }
}

// As the server itself takes them, with the system's idea of keys that are long enough. The files are not
// opened again: their directory's owner may have put a pipe there.
void addRefusal(Texts& faults, const CertificateFiles& files, const Chain& chain, EVP_PKEY* key) {
    const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_server_method()),
                                                                    SSL_CTX_free);
    bool taken = SSL_CTX_use_certificate(context.get(), chain.front().get()) == 1;
    for (size_t i = 1; taken && i < chain.size(); ++i) {
        taken = SSL_CTX_add1_chain_cert(context.get(), chain[i].get()) == 1;
    }
    if (!taken) {
        faults.push_back(files.certificate + ": not usable: " + opensslError());
    } else if (SSL_CTX_use_PrivateKey(context.get(), key) != 1) {
        faults.push_back(files.key + ": not usable: " + opensslError());
    }
}

void addUse(Texts& faults, const std::string& file, const Chain& chain) {
    if (X509_check_purpose(chain.front().get(), X509_PURPOSE_SSL_SERVER, 0) != 1) {
        faults.push_back(file + ": it is not made for servers (extended key usage)");
    }
}

// A key is root's secret.
void addOpenness(Texts& faults, const std::string& file) {
    struct stat status {};
    if (!lookAt(file, status)) {
        return;
    }
    if (status.st_uid != 0) {
        faults.push_back(file + ": its owner is not root; expected chown root " + file);
    }
    const bool byGroup = (status.st_mode & S_IRGRP) != 0 && !mayReadKeys(status.st_gid);
    if (byGroup || (status.st_mode & (S_IRWXO | S_IWGRP)) != 0) {
        faults.push_back(file + ": others than root can read or write it; expected chmod 0600 " + file);
    }
}

// Files that a site's owner could exchange are none that the server may show.
void addWay(Texts& faults, const std::string& file) {
    if (Outcome reached = reachedWithoutForeignLink(directoryOf(file)); !reached.ok()) {
        faults.push_back(reached.message);
    }
}

void addNames(Texts& faults, const std::string& file, const std::vector<std::string>& names) {
    std::string missing;
    for (const std::string& name : uncovered(file, names)) {
        missing += (missing.empty() ? "" : ", ") + name;
    }
    if (!missing.empty()) {
        faults.push_back(file + ": it is not for " + missing);
    }
}

}  // namespace

std::vector<std::string> faultsOf(const CertificateFiles& files, const std::vector<std::string>& names,
                                  std::time_t now) {
    const auto chain = readChain(files.certificate);
    const auto key = readKey(files.key);
    Texts faults;
    for (const Outcome& outcome : {chain.outcome(), key.outcome()}) {
        if (!outcome.ok()) {
            faults.push_back(outcome.message);
        }
    }
    if (!faults.empty()) {
        return faults;
    }
    if (X509_check_private_key(chain->front().get(), key->get()) != 1) {
        faults.push_back(files.key + ": it is not the key of " + files.certificate);
    }
    static_cast<void>(opensslError());
    addOrder(faults, files.certificate, *chain);
    addDates(faults, files.certificate, *chain, now);
    addUse(faults, files.certificate, *chain);
    addNames(faults, files.certificate, names);
    addOpenness(faults, files.key);
    addWay(faults, files.certificate);
    addWay(faults, files.key);
    if (faults.empty()) {
        addRefusal(faults, files, *chain, key->get());
    }
    return faults;
}

std::string spoilablePart(const CertificateFiles& files) {
    for (const std::string& file : {files.certificate, files.key}) {
        if (const std::string part = othersPart(file); !part.empty()) {
            return file + ": " + part +
                   " is not root's alone, and the server does not start without the file";
        }
    }
    return {};
}

}  // namespace zpweb
