#include "sys/Pieces.h"

#include <algorithm>
#include <cstring>

namespace zpweb {

namespace {

constexpr size_t PieceSize = 4096;

// By blocks first, which takes most of the way.
size_t equalFront(std::string_view a, std::string_view b, size_t length) {
    if (a.data() == b.data()) {
        return length;
    }
    size_t at = 0;
    while (at + PieceSize <= length && std::memcmp(a.data() + at, b.data() + at, PieceSize) == 0) {
        at += PieceSize;
    }
    while (at < length && a[at] == b[at]) {
        ++at;
    }
    return at;
}

size_t equalBack(std::string_view a, std::string_view b, size_t length) {
    const char* const one = a.data() + a.size();
    const char* const other = b.data() + b.size();
    if (one == other) {
        return length;
    }
    size_t at = 0;
    while (at + PieceSize <= length &&
           std::memcmp(one - at - PieceSize, other - at - PieceSize, PieceSize) == 0) {
        at += PieceSize;
    }
    while (at < length && *(one - at - 1) == *(other - at - 1)) {
        ++at;
    }
    return at;
}

}  // namespace

size_t sizeOf(const Pieces& pieces) {
    size_t size = 0;
    for (const std::string_view piece : pieces) {
        size += piece.size();
    }
    return size;
}

size_t equalBeginning(const Pieces& a, const Pieces& b) {
    size_t equal = 0;
    std::string_view one;
    std::string_view other;
    for (size_t i = 0, j = 0;;) {
        while (one.empty() && i < a.size()) {
            one = a[i++];
        }
        while (other.empty() && j < b.size()) {
            other = b[j++];
        }
        const size_t length = std::min(one.size(), other.size());
        const size_t alike = equalFront(one, other, length);
        equal += alike;
        if (length == 0 || alike < length) {
            return equal;
        }
        one.remove_prefix(length);
        other.remove_prefix(length);
    }
}

size_t equalEnd(const Pieces& a, const Pieces& b, size_t limit) {
    size_t equal = 0;
    std::string_view one;
    std::string_view other;
    for (size_t i = a.size(), j = b.size();;) {
        while (one.empty() && i > 0) {
            one = a[--i];
        }
        while (other.empty() && j > 0) {
            other = b[--j];
        }
        const size_t length = std::min({one.size(), other.size(), limit - equal});
        const size_t alike = equalBack(one, other, length);
        equal += alike;
        if (length == 0 || alike < length) {
            return equal;
        }
        one.remove_suffix(length);
        other.remove_suffix(length);
    }
}

Pieces slice(const Pieces& pieces, size_t begin, size_t end) {
    Pieces found;
    size_t at = 0;
    for (const std::string_view piece : pieces) {
        const size_t from = std::clamp(begin, at, at + piece.size()) - at;
        const size_t to = std::clamp(end, at, at + piece.size()) - at;
        if (from < to) {
            found.push_back(piece.substr(from, to - from));
        }
        at += piece.size();
    }
    return found;
}

}  // namespace zpweb
