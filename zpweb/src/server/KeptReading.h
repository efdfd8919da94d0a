// The reading of the live configuration, kept in the state directory with the fingerprints of all that it
// was made of, so that the server need not be asked again while nothing has changed.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "server/Program.h"
#include "server/Reading.h"

namespace zpweb {

// What a reading depends on besides the server's program and its variables.
struct Basis {
    // The fingerprint of a file, by its path without links; empty when there is none.
    std::function<std::string(const std::string& path)> fingerprint;
    // That of the files that the Include lines name; empty where a reading may depend on more than these.
    std::string included;
};

class KeptReading {
public:
    // `file` is where it is kept.
    KeptReading(std::string file, const Program& program, Basis basis)
        : file_(std::move(file)), program_(program), basis_(std::move(basis)) {}

    // Null when none is kept or anything is no longer what it was.
    std::shared_ptr<const Reading> load() const;
    // That it could not be written is no error.
    void save(const Reading& reading) const;
    static void drop(const std::string& file);

private:
    std::string hashOf(const std::string& path) const;

    std::string file_;
    const Program& program_;
    Basis basis_;
};

}  // namespace zpweb
