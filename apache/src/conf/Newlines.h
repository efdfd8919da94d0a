// Where lines end, found for many characters at once: a search for one newline after the other takes more
// time than everything else that is done with a line.
#pragma once

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstddef>
#include <cstdint>

namespace zp::conf {

inline constexpr size_t NewlineBlock = 64;

// The bit of each of the block's characters that is a newline.
inline uint64_t newlinesIn(const char* block) {
    uint64_t newlines = 0;
#ifdef __SSE2__
    constexpr size_t step = sizeof(__m128i);
    const __m128i newline = _mm_set1_epi8('\n');
    for (size_t i = 0; i < NewlineBlock; i += step) {
        const __m128i part = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block + i));
        const int found = _mm_movemask_epi8(_mm_cmpeq_epi8(part, newline));
        newlines |= uint64_t{static_cast<uint32_t>(found)} << i;
    }
#else
    for (size_t i = 0; i < NewlineBlock; ++i) {
        newlines |= uint64_t{block[i] == '\n'} << i;
    }
#endif
    return newlines;
}

}  // namespace zp::conf
