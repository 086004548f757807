#pragma once

// The musedata library: MuseData to MusicXML conversion.

#include "musedata/converter_error.h"
#include "musedata/document.h"
#include "musedata/score.h"
#include "musedata/text_encoding.h"
