#include "server/SpoiltCertificates.h"

#include <sys/stat.h>

#include <map>
#include <set>
#include <utility>
#include <vector>

#include "conf/Text.h"
#include "sys/CertificateChain.h"
#include "sys/File.h"
#include "sys/Ground.h"
#include "sys/OwnersFile.h"

namespace zpweb {

namespace {

using Paths = std::vector<std::string>;

constexpr const char* CertificateLine = "SSLCertificateFile";
constexpr const char* KeyLine = "SSLCertificateKeyFile";
constexpr const char* ChainLine = "SSLCertificateChainFile";
constexpr const char* AuthorityLine = "SSLCACertificateFile";

Paths filesOf(const Reading& reading, uint32_t section, const char* name) {
    Paths files;
    for (const Directive* line : reading.inSection(section, name)) {
        const auto words = argumentsIn(line->arguments);
        files.push_back(words.empty() ? "" : reading.absolute(words[0]));
    }
    return files;
}

// What the server's level says for blocks that say nothing: looked up once for all of them.
class ServersTls {
public:
    explicit ServersTls(const Reading& reading)
        : reading_(reading), engine_(reading.valueIn(Directive::None, "SSLEngine")) {
        const std::string dialog = reading.valueIn(Directive::None, "SSLPassPhraseDialog");
        asksProgram_ = dialog.starts_with("exec:") || dialog.starts_with('|');
        for (const char* name : {CertificateLine, KeyLine, ChainLine, AuthorityLine}) {
            files_[name] = filesOf(reading, Directive::None, name);
        }
    }

    bool speaksTls(uint32_t block) const {
        const std::string own = reading_.valueIn(block, "SSLEngine");
        const std::string engine = lowerCase(own.empty() ? engine_ : own);
        return engine == "on" || engine == "optional";
    }
    // For the passphrases of keys.
    bool asksProgram() const { return asksProgram_; }
    Paths files(uint32_t block, const char* name) const {
        const Paths own = filesOf(reading_, block, name);
        return own.empty() ? files_.at(name) : own;
    }

private:
    const Reading& reading_;
    std::string engine_;
    bool asksProgram_ = false;
    std::map<std::string, Paths> files_;  // by the directive
};

bool isLater(const timespec& one, const timespec& other) {
    return std::pair(one.tv_sec, one.tv_nsec) > std::pair(other.tv_sec, other.tv_nsec);
}

// What a reload would find in each file, which is looked at once.
class FileLook {
public:
    explicit FileLook(const std::string& pidFile) {
        struct stat status {};
        if (::stat(pidFile.c_str(), &status) == 0) {
            lastReload_ = status.st_mtim;
        }
    }

    // Empty when there is none.
    std::string faultOfPair(const ServersTls& tls, const std::string& certificate, const std::string& key) {
        const bool isNewPair = isNew(certificate + '\n' + key);
        const bool isOthersKey = isNewPair && !othersPart(key).empty();
        if (!isNewPair || (!isOthersKey && !isChanged(key) && !isChanged(certificate) &&
                           othersPart(certificate).empty())) {
            return {};
        }
        if (const Outcome chain = readChain(certificate).outcome(); !chain.ok()) {
            return chain.message;
        }
        if (const Outcome read = readKey(key).outcome(); !read.ok()) {
            // Who types a passphrase root has said, and a name that is no file is a token's.
            const bool isLeft = needsPassphrase(key) && (!isOthersKey || tls.asksProgram());
            return isLeft || read.status == Status::NotFound ? "" : read.message;
        }
        return isPair(certificate, key) ? "" : key + ": it is not the key of " + certificate;
    }
    // The server takes an empty chain, but no list without authorities.
    std::string faultOfList(const std::string& file, bool isChain) {
        if (!isNew(file)) {
            return {};
        }
        struct stat status {};
        const bool isOthers = !othersPart(file).empty();
        const bool isBundle =
            ::stat(file.c_str(), &status) == 0 && status.st_size > static_cast<off_t>(LargestOwnersFile);
        if (!isOthers && (isBundle || !isChanged(file))) {
            return {};
        }
        const auto text = readFile(file, LargestOwnersFile);
        const bool isEmpty = text.ok() && !zp::conf::contains(*text, "-----BEGIN");
        return isChain && isEmpty ? "" : readChain(file).outcome().message;
    }

private:
    bool isNew(const std::string& files) { return known_.insert(files).second; }

    // A link that was laid anew counts as well as the file behind it.
    bool isChanged(const std::string& path) const {
        struct stat link {};
        struct stat file {};
        return ::lstat(path.c_str(), &link) == 0 && ::stat(path.c_str(), &file) == 0 &&
               (isLater(link.st_ctim, lastReload_) || isLater(file.st_ctim, lastReload_));
    }

    timespec lastReload_{};
    std::set<std::string> known_;
};

std::string faultIn(FileLook& look, const ServersTls& tls, uint32_t block) {
    const Paths certificates = tls.files(block, CertificateLine);
    const Paths keys = tls.files(block, KeyLine);
    std::string fault;
    for (size_t i = 0; fault.empty() && i < certificates.size(); ++i) {
        fault = look.faultOfPair(tls, certificates[i], i < keys.size() ? keys[i] : certificates[i]);
    }
    for (const char* name : {ChainLine, AuthorityLine}) {
        for (const std::string& file : tls.files(block, name)) {
            fault = fault.empty() ? look.faultOfList(file, name == ChainLine) : fault;
        }
    }
    return fault;
}

}  // namespace

Outcome certificatesAreSound(const Reading& reading, const std::string& pidFile) {
    FileLook look(pidFile);
    const ServersTls tls(reading);
    for (const VirtualHost& host : reading.hosts()) {
        const bool looksAt = host.directive != Directive::None && tls.speaksTls(host.directive);
        const std::string fault = looksAt ? faultIn(look, tls, host.directive) : "";
        if (!fault.empty()) {
            return failure(Status::Refused, "site " + host.names.name +
                                                ": the server cannot read its certificate and would end "
                                                "at the reload, for all sites: " +
                                                fault +
                                                ". Put it right, or switch it off (tls off, or site stop "
                                                "where the line is the site's own)");
        }
    }
    return done();
}

}  // namespace zpweb
