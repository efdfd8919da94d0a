#include "settings/KeptCertificate.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <utility>

#include "sys/File.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

constexpr mode_t OwnDirectory = 0700;
constexpr mode_t OwnFile = 0600;
constexpr const char* Certificate = "/certificate.pem";
constexpr const char* Key = "/key.pem";

// A new file with the owner and mode of the old one takes its place.
Outcome putBack(const std::string& kept, const std::string& path) {
    const auto text = readFile(kept);
    const auto real = realPathOf(path);
    if (!text.ok() || !real.ok()) {
        return text.ok() ? real.outcome() : text.outcome();
    }
    if (const auto now = readFile(*real); now.ok() && *now == *text) {
        return done();
    }
    const std::string fresh = *real + ".zpweb";
    ::unlink(fresh.c_str());
    Outcome put = writeNewFile(fresh, *text, OwnFile);
    put = put.ok() ? takeOverAttributes(*real, fresh) : put;
    if (put.ok() && ::rename(fresh.c_str(), real->c_str()) != 0) {
        put = failure(systemError(*real));
    }
    if (!put.ok()) {
        ::unlink(fresh.c_str());
    }
    return put.ok() ? sync(directoryOf(*real)) : put;
}

}  // namespace

KeptCertificate::KeptCertificate(const std::string& stateDirectory, CertificateFiles files)
    : above_(stateDirectory + "/certificates"),
      directory_(above_ + "/" + contentHash(files.certificate)),
      files_(std::move(files)) {}

bool KeptCertificate::is(const std::string& fingerprint) const {
    const auto facts = factsOf(directory_ + Certificate);
    return facts.ok() && facts->fingerprint == fingerprint;
}

Outcome KeptCertificate::keep() const {
    Outcome kept = createDirectory(above_, OwnDirectory);
    kept = kept.ok() ? createDirectory(directory_, OwnDirectory) : kept;
    // The certificate last: where it is there, its key is.
    for (const auto& [name, path] :
         {std::pair(Key, files_.key), std::pair(Certificate, files_.certificate)}) {
        const auto text = kept.ok() ? readFile(path) : kept;
        kept = text.ok() ? replaceFile(directory_ + name, *text, OwnFile) : text.outcome();
    }
    return kept;
}

Outcome KeptCertificate::bringBack() const {
    Outcome back = putBack(directory_ + Key, files_.key);
    return back.ok() ? putBack(directory_ + Certificate, files_.certificate) : back;
}

void KeptCertificate::forget() const { removeTree(directory_); }

}  // namespace zpweb
