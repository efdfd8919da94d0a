// The reading of the live configuration, kept in the state folder with the fingerprints of all that it was
// made of, so that the server need not be asked again while nothing has changed.
#pragma once

#include <memory>
#include <string>

#include "server/Configuration.h"
#include "server/Program.h"
#include "server/Reading.h"

namespace zpweb {

class KeptReading {
public:
    // `file` is where it is kept; `configuration` knows the files as they are to be taken.
    KeptReading(std::string file, const Configuration& configuration, const Program& program)
        : file_(std::move(file)), configuration_(configuration), program_(program) {}

    // Null when none is kept or anything is no longer what it was.
    std::shared_ptr<const Reading> load() const;
    // Not kept where it may depend on more than the content of files. That it could not be written is no
    // error.
    void save(const Reading& reading) const;
    void drop() const;

private:
    std::string hashOf(const std::string& path) const;
    std::string hashOfIncluded() const;

    std::string file_;
    const Configuration& configuration_;
    const Program& program_;
};

}  // namespace zpweb
