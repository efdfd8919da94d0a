#include "settings/KeptCertificate.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <utility>

#include "sys/Attributes.h"
#include "sys/CertificateChain.h"
#include "sys/Copy.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"
#include "sys/Hash.h"
#include "sys/OwnersFile.h"

namespace zpweb {

namespace {

constexpr mode_t OwnDirectory = 0700;
constexpr mode_t OwnFile = 0600;
constexpr const char* Certificate = "/certificate.pem";
constexpr const char* Key = "/key.pem";

// A copy of what is kept, as whose it is kept, takes the file's place in a directory that is held open.
Outcome replaceIn(const Descriptor& directory, const std::string& name, const std::string& kept) {
    const std::string place = pathIn(directory, name);
    const std::string fresh = place + ".zpweb";
    Outcome put = copyWhole(kept, fresh);
    if (put.ok() && ::rename(fresh.c_str(), place.c_str()) != 0) {
        put = failure(systemError(place));
    }
    if (!put.ok()) {
        ::unlink(fresh.c_str());
    }
    return put.ok() ? sync(directory, name) : toldBy(name, place, put);
}

Outcome putBackAt(const std::string& kept, const std::string& path) {
    const auto text = readFile(kept);
    const auto real = behindGuardedLinks(path);
    if (!text.ok() || !real.ok()) {
        return text.ok() ? real.outcome() : text.outcome();
    }
    if (const auto now = readFile(*real, LargestOwnersFile); now.ok() && *now == *text) {
        return done();
    }
    const auto directory = openGuarded(directoryOf(*real));
    return directory.ok() ? replaceIn(*directory, nameOf(*real), kept) : directory.outcome();
}

// With its owner and mode.
Outcome keepCopy(const std::string& path, const std::string& kept) {
    const std::string fresh = kept + ".new";
    ::unlink(fresh.c_str());
    const auto source = openRegular(path);
    const auto text = source.ok() ? readDescriptor(*source, path, LargestOwnersFile)
                                  : Expected<std::string>(source.outcome());
    if (!text.ok()) {
        return text.outcome();
    }
    const std::string_view whole = *text;
    const auto copy = makeNewFile(fresh, {&whole, 1}, OwnFile);
    Outcome made =
        copy.ok() ? takeOverAttributes(*source, *copy, path, ModeBits::WithoutSetId) : copy.outcome();
    made = made.ok() ? sync(*copy, fresh) : made;
    return made.ok() && ::rename(fresh.c_str(), kept.c_str()) != 0 ? failure(systemError(kept)) : made;
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
        kept = kept.ok() ? keepCopy(path, directory_ + name) : kept;
        kept = kept.ok() ? sync(directory_) : kept;
    }
    // Where an owner can exchange the files, the one that was read may be somebody else's.
    if (kept.ok() && !isPair(directory_ + Certificate, directory_ + Key)) {
        forget();
        return failure(files_.key + ": somebody has exchanged it meanwhile");
    }
    return kept;
}

Outcome KeptCertificate::bringBack() const {
    Outcome back = putBackAt(directory_ + Key, files_.key);
    return back.ok() ? putBackAt(directory_ + Certificate, files_.certificate) : back;
}

void KeptCertificate::forget() const { removeTree(directory_); }

}  // namespace zpweb
