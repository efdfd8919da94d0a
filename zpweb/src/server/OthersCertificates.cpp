#include "server/OthersCertificates.h"

#include <set>

#include "sys/CertificateChain.h"
#include "sys/Ground.h"

namespace zpweb {

namespace {

// What a block, or the server's level, says of TLS.
struct TlsLines {
    std::string engine;
    std::vector<std::string> certificates, keys, others;

    TlsLines(const Reading& reading, uint32_t section)
        : engine(lowerCase(reading.valueIn(section, "SSLEngine"))),
          certificates(filesOf(reading, section, "SSLCertificateFile")),
          keys(filesOf(reading, section, "SSLCertificateKeyFile")),
          others(filesOf(reading, section, "SSLCertificateChainFile")) {
        const auto authorities = filesOf(reading, section, "SSLCACertificateFile");
        others.insert(others.end(), authorities.begin(), authorities.end());
    }

    static std::vector<std::string> filesOf(const Reading& reading, uint32_t section, const char* name) {
        std::vector<std::string> files;
        for (const Directive* line : reading.inSection(section, name)) {
            const auto words = argumentsIn(line->arguments);
            files.push_back(words.empty() ? "" : reading.absolute(words[0]));
        }
        return files;
    }
};

template <class Value>
const Value& ownOr(const Value& own, const Value& ofServer) {
    return own.empty() ? ofServer : own;
}

// Looks at each file once.
class Look {
public:
    std::string faultOfPair(const std::string& certificate, const std::string& key) {
        const bool isOthersKey = !othersPart(key).empty();
        if (!isNew(certificate + '\n' + key) || (!isOthersKey && othersPart(certificate).empty())) {
            return {};
        }
        if (const std::string fault = faultOf(readChain(certificate).outcome()); !fault.empty()) {
            return fault;
        }
        const Outcome read = readKey(key).outcome();
        if (!read.ok()) {  // where root has one with a passphrase, root has said who types it
            return isOthersKey ? read.message : "";
        }
        return isPair(certificate, key) ? "" : key + ": it is not the key of " + certificate;
    }
    std::string faultOfFile(const std::string& file) {
        return isNew(file) && !othersPart(file).empty() ? faultOf(readChain(file).outcome()) : "";
    }

private:
    static std::string faultOf(const Outcome& read) { return read.ok() ? "" : read.message; }
    bool isNew(const std::string& files) { return known_.insert(files).second; }

    std::set<std::string> known_;
};

std::string faultIn(Look& look, const TlsLines& own, const TlsLines& ofServer) {
    const std::string engine = ownOr(own.engine, ofServer.engine);
    if (engine != "on" && engine != "optional") {
        return {};
    }
    const auto& certificates = ownOr(own.certificates, ofServer.certificates);
    const auto& keys = ownOr(own.keys, ofServer.keys);
    std::string fault;
    for (size_t i = 0; fault.empty() && i < certificates.size(); ++i) {
        fault = look.faultOfPair(certificates[i], i < keys.size() ? keys[i] : certificates[i]);
    }
    for (const std::string& file : ownOr(own.others, ofServer.others)) {
        fault = fault.empty() ? look.faultOfFile(file) : fault;
    }
    return fault;
}

}  // namespace

Outcome othersCertificatesAreSound(const Reading& reading) {
    const TlsLines ofServer(reading, Directive::None);
    Look look;
    for (const VirtualHost& host : reading.hosts()) {
        const std::string fault = host.directive == Directive::None
                                      ? ""
                                      : faultIn(look, TlsLines(reading, host.directive), ofServer);
        if (!fault.empty()) {
            return failure(Status::Refused, "site " + host.names.name +
                                                ": the server cannot read its certificate and would end at "
                                                "the reload, for all sites: " +
                                                fault + ". Put it right, or switch it off (tls off)");
        }
    }
    return done();
}

}  // namespace zpweb
