#include "score_bytes.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "component/line_source.h"
#include "component/zip_archive.h"
#include "musedata/converter_error.h"
#include "private_folder.h"

namespace musedata::tool {
namespace fs = std::filesystem;

std::string MxlBytes(const Document& document) {
  return ToCompressedMusicXml(document, "score.xml");
}

Document ParseMusicXml(std::string_view bytes, const std::string& name) {
  return ReadMusicXml(bytes, name);
}

bool LooksLikeMusicXml(std::string_view bytes) noexcept {
  if (LooksLikeZip(bytes)) return true;
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  const size_t first = bytes.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && bytes[first] == '<';
}

std::string ExportPartText(const Document& document, int32_t partNumber,
                           const ExportOptions& options) {
  // The export writes a file; it goes to a private scratch folder and is read
  // back at once.
  const PrivateFolder scratch(fs::temp_directory_path());
  const std::string path = (scratch.Path() / "part.md").string();
  if (!ExportPart(document, partNumber, path, options)) {
    throw ConverterError(5, "musedata",
                         "Part " + std::to_string(partNumber) +
                             " was not written: the document is not score-partwise or the "
                             "export was cancelled");
  }
  return ReadFileBytes(path).value_or(std::string());
}

void WriteScoreFile(const Document& document, const std::string& path) {
  if (fs::path(path).extension() == ".mxl") {
    WriteCompressedMusicXmlFile(document, path);
  } else {
    WriteMusicXmlFile(document, path);
  }
}

}  // namespace musedata::tool
