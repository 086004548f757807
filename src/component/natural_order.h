#pragma once

#include <string>

namespace musedata {

// Compares names so that "part2" sorts before "part10": runs of digits are
// compared by their value, everything else character by character.
bool NaturalLess(const std::string& a, const std::string& b);

}  // namespace musedata
