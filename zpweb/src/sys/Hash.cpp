#include "sys/Hash.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace zpweb {

namespace {

constexpr size_t Lanes = 4;
constexpr size_t Stride = Lanes * sizeof(uint64_t);
// Odd numbers without a pattern, one a lane.
constexpr std::array<uint64_t, Lanes> Multiplier = {0x9e3779b97f4a7c15, 0xc2b2ae3d27d4eb4f,
                                                    0x165667b19e3779f9, 0xd6e8feb86659fd93};

class Mixer {
public:
    void take(const char* block) {
        for (size_t lane = 0; lane < Lanes; ++lane) {
            uint64_t word = 0;
            std::memcpy(&word, block + lane * sizeof word, sizeof word);
            state_[lane] = std::rotl((state_[lane] ^ word) * Multiplier[lane], 29) + word;
        }
    }

    uint64_t drawn(uint64_t seed) const {
        uint64_t result = seed;
        for (size_t lane = 0; lane < Lanes; ++lane) {
            result = (result ^ state_[lane]) * Multiplier[lane];
            result ^= result >> 31;
        }
        return result;
    }

private:
    std::array<uint64_t, Lanes> state_ = Multiplier;
};

void appendHex(std::string& text, uint64_t number) {
    for (int shift = 60; shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[(number >> shift) & 15];
    }
}

}  // namespace

std::string contentHash(std::string_view text) {
    Mixer mixer;
    size_t at = 0;
    for (; at + Stride <= text.size(); at += Stride) {
        mixer.take(text.data() + at);
    }
    std::array<char, Stride> rest{};
    std::memcpy(rest.data(), text.data() + at, text.size() - at);
    mixer.take(rest.data());
    std::string result;
    appendHex(result, mixer.drawn(text.size()));
    appendHex(result, mixer.drawn(~text.size()));
    return result;
}

}  // namespace zpweb
