#pragma once

// The musedata library: MuseData to MusicXML conversion.

#include "musedata/converter.h"
#include "musedata/converter_error.h"
#include "musedata/document.h"
#include "musedata/finish.h"
#include "musedata/muse_data.h"
#include "musedata/registry.h"
#include "musedata/score.h"
#include "musedata/text_encoding.h"
