#include "score_bytes.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "component/atomic_file.h"
#include "component/zip_archive.h"
#include "musedata/converter_error.h"
#include "xml/node.h"

namespace musedata::tool {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view kMxlMimeType = "application/vnd.recordare.musicxml";
constexpr std::string_view kRootFileName = "score.musicxml";
constexpr std::string_view kContainerPath = "META-INF/container.xml";

std::string ContainerXml() {
  return std::string(
             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
             "<container>\n"
             "  <rootfiles>\n"
             "    <rootfile full-path=\"") +
         std::string(kRootFileName) +
         "\"/>\n"
         "  </rootfiles>\n"
         "</container>\n";
}

// The path of the score inside an .mxl container: the first root file that
// container.xml names, or else the first .xml or .musicxml file outside
// META-INF.
std::string RootFilePath(const std::vector<ZipEntry>& entries, const std::string& name) {
  for (const ZipEntry& entry : entries) {
    if (entry.name != kContainerPath) continue;
    const Document container = xml::ParseMemory(entry.bytes, name + "/" + entry.name, 5);
    for (xml::Node rootfiles : xml::Root(container).Children("rootfiles")) {
      for (xml::Node rootfile : rootfiles.Children("rootfile")) {
        if (rootfile.HasAttr("full-path")) return std::string(rootfile.Attr("full-path"));
      }
    }
  }
  for (const ZipEntry& entry : entries) {
    const std::string extension = fs::path(entry.name).extension().string();
    if (entry.name.rfind("META-INF/", 0) != 0 && (extension == ".xml" || extension == ".musicxml"))
      return entry.name;
  }
  throw ConverterError(5, "musedata", name + ": the compressed MusicXML file holds no score");
}

// A folder of our own under the system's temporary folder, removed with
// everything in it when it goes out of scope.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (fs::temp_directory_path() / "musedata-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw ConverterError(75, "musedata", "Path/File access error");
    m_path = pattern;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const fs::path& Path() const noexcept { return m_path; }

 private:
  fs::path m_path;
};

}  // namespace

std::string MxlBytes(const Document& document) {
  std::vector<ZipEntry> entries;
  entries.push_back({"mimetype", std::string(kMxlMimeType)});
  entries.push_back({std::string(kContainerPath), ContainerXml()});
  entries.push_back({std::string(kRootFileName), xml::ToIndentedString(document)});
  return MakeZipArchive(entries, true);
}

Document ParseMusicXml(std::string_view bytes, const std::string& name) {
  if (!LooksLikeZip(bytes)) return xml::ParseMemory(bytes, name, 5);
  const std::vector<ZipEntry> entries = ReadZipArchive(bytes, name);
  const std::string root = RootFilePath(entries, name);
  for (const ZipEntry& entry : entries) {
    if (entry.name == root) return xml::ParseMemory(entry.bytes, name + "/" + root, 5);
  }
  throw ConverterError(5, "musedata", name + ": the root file " + root + " is missing");
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
  const ScratchFolder scratch;
  const std::string path = (scratch.Path() / "part.md").string();
  if (!ExportPart(document, partNumber, path, options)) {
    throw ConverterError(5, "musedata",
                         "Part " + std::to_string(partNumber) +
                             " was not written: the document is not score-partwise or the "
                             "export was cancelled");
  }
  std::ifstream stream(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
}

void WriteScoreFile(const Document& document, const std::string& path) {
  if (fs::path(path).extension() != ".mxl") {
    WriteMusicXmlFile(document, path);
    return;
  }
  AtomicFileWriter writer(path);
  writer.Write(MxlBytes(document));
  writer.Commit();
}

}  // namespace musedata::tool
