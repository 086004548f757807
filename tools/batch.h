#pragma once

#include <string>

#include "component/natural_order.h"
#include "musedata/score.h"

namespace musedata::tool {

struct BatchOptions {
  std::string inputFolder;
  std::string outputFolder;
  ImportOptions import;  // group, system identifier, encoding
  bool progress = false;
  unsigned jobs = 0;  // 0: one per core
};

// Converts every MuseData movement below the input folder into one MusicXML
// file in the mirrored folder structure: a set file is a movement, and so are
// the part files of one folder together. Prints a summary on standard error;
// returns the exit status (2 when any movement failed).
int RunBatch(const BatchOptions& options);

// Names sort as people number files: "part2" before "part10".
using musedata::NaturalLess;

}  // namespace musedata::tool
