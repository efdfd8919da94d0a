#include "settings/Certificate.h"

#include <arpa/inet.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>

#include "sys/CertificateChain.h"
#include "sys/Fingerprint.h"

namespace zpweb {

namespace {

std::string lineOf(const X509_NAME* name) {
    std::array<char, 256> text{};
    const int size = X509_NAME_get_text_by_NID(name, NID_commonName, text.data(), text.size());
    if (size <= 0) {
        X509_NAME_oneline(name, text.data(), text.size());
    }
    return text.data();
}

std::string addressFrom(const ASN1_OCTET_STRING* octets) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const int family = ASN1_STRING_length(octets) == 4 ? AF_INET : AF_INET6;
    const char* made = ::inet_ntop(family, ASN1_STRING_get0_data(octets), text.data(), text.size());
    return made == nullptr ? "" : made;
}

std::vector<std::string> namesIn(const X509* certificate) {
    std::vector<std::string> names;
    auto* all =
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr));
    for (int i = 0; i < sk_GENERAL_NAME_num(all); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(all, i);
        if (name->type == GEN_DNS) {
            names.emplace_back(reinterpret_cast<const char*>(ASN1_STRING_get0_data(name->d.dNSName)),
                               static_cast<size_t>(ASN1_STRING_length(name->d.dNSName)));
        } else if (name->type == GEN_IPADD) {
            names.push_back(addressFrom(name->d.iPAddress));
        }
    }
    GENERAL_NAMES_free(all);
    return names;
}

// Browsers do not look at the subject's common name, so it counts for nothing.
bool covers(X509* certificate, const std::string& name) {
    if (X509_check_ip_asc(certificate, name.c_str(), 0) == 1) {
        return true;
    }
    constexpr unsigned int Flags =
        X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS | X509_CHECK_FLAG_NEVER_CHECK_SUBJECT;
    return X509_check_host(certificate, name.c_str(), name.size(), Flags, nullptr) == 1;
}

}  // namespace

std::time_t timeOf(const ASN1_TIME* time) {
    std::tm parts{};
    return ASN1_TIME_to_tm(time, &parts) == 1 ? ::timegm(&parts) : 0;
}

long daysLeft(std::time_t moment, std::time_t now) {
    constexpr long Day = 24L * 60 * 60;
    const long seconds = moment - now;
    return seconds >= 0 ? seconds / Day : -((-seconds + Day - 1) / Day);
}

Expected<CertificateFacts> factsOf(const std::string& certificateFile) {
    const auto chain = readChain(certificateFile);
    if (!chain.ok()) {
        return chain.outcome();
    }
    const X509* own = chain->front().get();
    return CertificateFacts{namesIn(own), lineOf(X509_get_issuer_name(own)),
                            timeOf(X509_get0_notBefore(own)), timeOf(X509_get0_notAfter(own)),
                            fingerprintOf(own)};
}

std::vector<std::string> uncovered(const std::string& certificateFile,
                                   const std::vector<std::string>& names) {
    const auto chain = readChain(certificateFile);
    std::vector<std::string> missing;
    std::copy_if(names.begin(), names.end(), std::back_inserter(missing), [&](const std::string& name) {
        return !chain.ok() || !covers(chain->front().get(), name);
    });
    return missing;
}

}  // namespace zpweb
