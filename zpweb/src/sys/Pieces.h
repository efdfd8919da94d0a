// Texts that stand in pieces, one behind the other.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace zpweb {

using Pieces = std::vector<std::string_view>;

size_t sizeOf(const Pieces& pieces);
// How many characters two texts begin with alike. What both are views of is not compared.
size_t equalBeginning(const Pieces& a, const Pieces& b);
// The same from their ends, among the last `limit` characters.
size_t equalEnd(const Pieces& a, const Pieces& b, size_t limit);
// What stands from `begin` to `end`.
Pieces slice(const Pieces& pieces, size_t begin, size_t end);

}  // namespace zpweb
