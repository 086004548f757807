#pragma once

#include <string>
#include <vector>

namespace musedata {

// Compares names so that "part2" sorts before "part10": runs of digits are
// compared by their value, everything else character by character.
bool NaturalLess(const std::string& a, const std::string& b);

// The regular, non-hidden files of `folder`, in natural name order, as the
// paths the folder's name gives them. Raises ConverterError (75, source
// "musedata") naming the folder when it cannot be read.
std::vector<std::string> FolderFiles(const std::string& folder);

}  // namespace musedata
