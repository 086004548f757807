#pragma once

// The divisor that makes a part's durations fit MuseData's three columns,
// shared by the finishing step and by ReduceDivisions, which applies it to a
// copy of a host's score.

#include <cstdint>

#include "xml/node.h"

namespace musedata::export_finish {

// What the part's divisions and durations are divided by: their greatest
// common divisor when one duration does not fit three columns, otherwise 1.
// Also 1 when the part has no `divisions` or a value that is not a whole
// number. Offsets never decide it.
int64_t DivisorOf(xml::Node part);

// Divides the part's divisions and durations by `divisor`, and its offsets,
// rounded to the nearest division.
void DivideBy(xml::Node part, int64_t divisor);

}  // namespace musedata::export_finish
