// Feeds arbitrary bytes to the export as a MusicXML file (plain or
// compressed: the seeds hold .mxl containers, and the zip reader's limits
// keep a bomb from exhausting the fuzzer), then writes every part of what was
// read as MuseData: literally, with the division reduction, and finished for
// MuseData as the tool writes it. Every failure must be an error of the
// converter ("Verdantix", 6003 to 6082, and its finishing passes, 6090 to
// 6119) or of the MusicXML reader ("musedata"); anything else escaping (a
// crash, a foreign exception, a sanitizer report) is a finding.

#include <stdlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "musedata/converter_error.h"
#include "musedata/score.h"

namespace {

// Parts beyond this many add time but no new paths through the writers.
constexpr int32_t kMostParts = 8;

void CheckError(const musedata::ConverterError& error) {
  if (error.Source() == "musedata") return;
  const int32_t offset = error.Number() - musedata::kErrorBase;
  const bool converter = offset >= 6003 && offset <= 6082;
  const bool finishing = offset >= 6090 && offset <= 6119;
  if (error.Source() != musedata::kErrorSource || !(converter || finishing)) std::abort();
}

// Where the parts are written: one folder for the whole run, made at the
// first input and removed with everything in it when the fuzzer exits.
class OutputFolder {
 public:
  OutputFolder() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "musedata-export-fuzz-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    m_folder = pattern;
  }
  ~OutputFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  std::string PartPath() const { return (m_folder / "part.md").string(); }

 private:
  std::filesystem::path m_folder;
};

void ExportEveryPart(const musedata::Document& score, bool reduceDivisions, bool finish) {
  musedata::ExportOptions options;
  options.warning = [](const std::string&) {};
  options.reduceDivisions = reduceDivisions;
  options.finish = finish;
  static const OutputFolder folder;
  const std::string path = folder.PartPath();
  const int32_t parts = std::min(musedata::CountParts(score), kMostParts);
  for (int32_t part = 1; part <= parts; ++part) {
    try {
      musedata::ExportPart(score, part, path, options);
    } catch (const musedata::ConverterError& error) {
      CheckError(error);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  musedata::Document score;
  try {
    score = musedata::ReadMusicXml(bytes, "fuzz.musicxml");
  } catch (const musedata::ConverterError& error) {
    CheckError(error);
    return 0;
  }
  ExportEveryPart(score, false, false);
  ExportEveryPart(score, true, false);
  ExportEveryPart(score, true, true);
  return 0;
}
