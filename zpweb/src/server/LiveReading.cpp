#include "server/LiveReading.h"

#include "conf/Text.h"
#include "server/Inspection.h"
#include "sys/File.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

constexpr std::string_view Condition = "<IfFile";  // looks at a file that may be none of the configuration

bool dependsOnMore(std::string_view text) {
    for (size_t at = 0; (at = text.find('<', at)) != std::string_view::npos; ++at) {
        if (zp::conf::beginsIgnoringCase(text.substr(at), Condition)) {
            return true;
        }
    }
    return false;
}

// Which files the Include lines name; empty when a variable or a condition makes a reading depend on more.
std::string includedFiles(const Configuration& configuration) {
    Hasher hasher;
    for (const auto& file : configuration.files()) {
        if (dependsOnMore(file->content().text())) {
            return {};
        }
        for (const IncludeLine& include : file->server().includes) {
            if (zp::conf::contains(include.pattern, "${")) {
                return {};
            }
            for (const std::string& path : configuration.included(include.pattern)) {
                const auto real = configuration.realOf(path);
                hasher.take(path + "\n" + (real.ok() ? *real : "") + "\n");
            }
        }
    }
    return hasher.digits();
}

}  // namespace

std::string fingerprintOf(const Configuration& configuration, const std::string& path) {
    const ConfigurationFile* file = configuration.file(path);
    const auto current = file != nullptr ? Expected(file->content().hash()) : currentHash(path);
    return current.ok() ? *current : "";
}

Basis basisOf(const Configuration& configuration,
              std::function<std::string(const std::string& path)> fingerprint) {
    return {std::move(fingerprint), includedFiles(configuration)};
}

std::shared_ptr<const Reading> liveReading(const Configuration& configuration,
                                           const std::string& readingFile) {
    const Program program(configuration.main().path());
    const Basis basis = basisOf(configuration, [&configuration](const std::string& path) {
        return fingerprintOf(configuration, path);
    });
    auto kept = KeptReading(readingFile, program, basis).load();
    return kept != nullptr ? kept : ReadingRun(program, configuration.main().path()).end({});
}

}  // namespace zpweb
