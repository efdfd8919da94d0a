#include "sys/Hash.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "sys/File.h"

namespace zpweb {

namespace {

void appendHex(std::string& text, uint64_t number) {
    for (int shift = 60; shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[(number >> shift) & 15];
    }
}

}  // namespace

void Hasher::take(std::string_view piece) {
    size_ += piece.size();
    if (held_ > 0) {
        const size_t count = std::min(Stride - held_, piece.size());
        piece.copy(rest_.data() + held_, count);
        held_ += count;
        piece.remove_prefix(count);
        if (held_ < Stride) {
            return;
        }
        mix(rest_.data());
    }
    for (; piece.size() >= Stride; piece.remove_prefix(Stride)) {
        mix(piece.data());
    }
    held_ = piece.copy(rest_.data(), Stride);
}

std::string Hasher::digits() {
    std::fill(rest_.begin() + static_cast<std::ptrdiff_t>(held_), rest_.end(), '\0');
    mix(rest_.data());
    std::string result;
    appendHex(result, drawn(size_));
    appendHex(result, drawn(~size_));
    return result;
}

void Hasher::mix(const char* block) {
    for (size_t lane = 0; lane < Lanes; ++lane) {
        uint64_t word = 0;
        std::memcpy(&word, block + lane * sizeof word, sizeof word);
        state_[lane] = std::rotl((state_[lane] ^ word) * Multiplier[lane], 29) + word;
    }
}

uint64_t Hasher::drawn(uint64_t seed) const {
    uint64_t result = seed;
    for (size_t lane = 0; lane < Lanes; ++lane) {
        result = (result ^ state_[lane]) * Multiplier[lane];
        result ^= result >> 31;
    }
    return result;
}

std::string contentHash(std::string_view text) {
    Hasher hasher;
    hasher.take(text);
    return hasher.digits();
}

std::string currentHash(const std::string& path) {
    Hasher hasher;
    const Outcome read = readParts(path, [&](std::string_view part) { hasher.take(part); });
    return read.ok() ? hasher.digits() : "";
}

}  // namespace zpweb
