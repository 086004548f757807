#pragma once

// Writing a score in two steps, for a batch that converts the next movement
// while the disk takes in the last one.

#include <memory>
#include <string>

#include "component/atomic_file.h"
#include "musedata/score.h"

namespace musedata {

// Writes the document as WriteMusicXmlFile does, all but the last step: the
// whole text is in the temporary file and on its way to the disk, and the
// writer's Commit puts it in place of `path` (raising as WriteMusicXmlFile
// would); dropping the writer instead leaves `path` as it was. Null, with
// nothing replaced, when the progress handler cancelled. Raises ConverterError
// (75, naming the path) when the text cannot be written.
std::unique_ptr<AtomicFileWriter> WriteMusicXmlPending(const Document& document,
                                                       const std::string& path,
                                                       const WriteOptions& options = {});

}  // namespace musedata
