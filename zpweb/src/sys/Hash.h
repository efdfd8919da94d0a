// A fingerprint of a file's content, to tell whether somebody has changed it. It is fast and not meant
// against forgery.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace zpweb {

// Takes a text in pieces of any size.
class Hasher {
public:
    void take(std::string_view piece);
    std::string digits();  // 32 hexadecimal digits; once, at the end

private:
    static constexpr size_t Lanes = 4;
    static constexpr size_t Stride = Lanes * sizeof(uint64_t);
    // Odd numbers without a pattern, one a lane.
    static constexpr std::array<uint64_t, Lanes> Multiplier = {0x9e3779b97f4a7c15, 0xc2b2ae3d27d4eb4f,
                                                               0x165667b19e3779f9, 0xd6e8feb86659fd93};
    void mix(const char* block);
    uint64_t drawn(uint64_t seed) const;

    std::array<uint64_t, Lanes> state_ = Multiplier;
    std::array<char, Stride> rest_{};  // what is not a whole stride yet
    size_t held_ = 0;
    uint64_t size_ = 0;
};

std::string contentHash(std::string_view text);
// The fingerprint of a file as it is now; empty when there is none.
std::string currentHash(const std::string& path);

}  // namespace zpweb
