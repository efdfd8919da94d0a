#include "sys/Hash.h"

#define XXH_INLINE_ALL  // NOLINT(cppcoreguidelines-macro-usage): the library's own switch
#include <xxhash.h>

#include <array>

#include "sys/File.h"

namespace zpweb {

namespace {

constexpr const char* NoFile = "no file";

}  // namespace

struct Hasher::State {
    XXH3_state_t state;
};

Hasher::Hasher() : state_(new State) { XXH3_128bits_reset(&state_->state); }

Hasher::~Hasher() = default;

void Hasher::take(std::string_view piece) {
    XXH3_128bits_update(&state_->state, piece.data(), piece.size());
}

std::string Hasher::digits() const {
    XXH128_canonical_t canonical{};
    XXH128_canonicalFromHash(&canonical, XXH3_128bits_digest(&state_->state));
    std::string text;
    for (const unsigned char byte : canonical.digest) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

std::string contentHash(std::string_view text) {
    Hasher hasher;
    hasher.take(text);
    return hasher.digits();
}

std::string linkHash(std::string_view target) { return "-> " + std::string(target); }

Expected<std::string> currentHash(const std::string& path) {
    if (const auto target = linkTarget(path)) {
        return linkHash(*target);
    }
    Hasher hasher;
    const auto read = readParts(path, [&](std::string_view part) { hasher.take(part); });
    if (read.outcome().status == Status::NotFound) {
        return std::string();
    }
    return !read.ok() ? Expected<std::string>(read.outcome())
           : *read    ? hasher.digits()
                      : std::string(NoFile);
}

}  // namespace zpweb
