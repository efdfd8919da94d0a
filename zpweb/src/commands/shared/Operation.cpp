#include "commands/shared/Operation.h"

#include <algorithm>

#include "Results.h"

namespace zpweb {

namespace {

const char* reasonFor(int result) {
    switch (result) {
        case zp::result::NoConfigurationPath:
            return ": no configuration file";
        case zp::result::ConfigurationNotOpened:
            return ": the staged file could not be read or written (is the disk full?)";
        case zp::result::ScratchNotOpened:
            return ": its scratch file could not be written (is the disk full?)";
        default:
            return "";
    }
}

}  // namespace

Outcome resultOf(const std::string& operation, int result, const std::vector<int>& good) {
    if (std::find(good.begin(), good.end(), result) != good.end()) {
        return done();
    }
    return failure(operation + " answered " + std::to_string(result) + reasonFor(result));
}

Meaning expecting(std::string operation, std::vector<int> good) {
    return [operation = std::move(operation), good = std::move(good)](int result) {
        return resultOf(operation, result, good);
    };
}

Meaning expecting(std::string operation, std::vector<int> good, int known, Outcome reason) {
    return [others = expecting(std::move(operation), std::move(good)), known,
            reason = std::move(reason)](int result) { return result == known ? reason : others(result); };
}

}  // namespace zpweb
