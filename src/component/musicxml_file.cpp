// MusicXML files for the facade: reading plain and compressed MusicXML from
// any program, writing compressed MusicXML, and fitting a score's divisions
// to MuseData's three-column durations.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <optional>

#include "component/atomic_file.h"
#include "component/line_source.h"
#include "component/zip_archive.h"
#include "encoding/numbers.h"
#include "export_finish/divisions.h"
#include "musedata/converter_error.h"
#include "musedata/score.h"
#include "xml/node.h"

namespace musedata {
namespace {

constexpr std::string_view kContainerPath = "META-INF/container.xml";
constexpr std::string_view kMimeType = "application/vnd.recordare.musicxml";
constexpr std::string_view kRootMediaType = "application/vnd.recordare.musicxml+xml";

[[noreturn]] void RaiseInvalid(const std::string& description) {
  throw ConverterError(5, "musedata", description);
}

[[noreturn]] void RaiseParseFailure(const std::string& name, const xml::ParseFailure& failure) {
  RaiseInvalid(name + ", line " + std::to_string(failure.line) + ", column " +
               std::to_string(failure.column) + ": not well-formed XML: " + failure.reason);
}

// Only score-partwise can be exported; a timewise score would need turning
// round first, which the converter does not do.
Document CheckScore(Document document, const std::string& name) {
  const std::string_view root = xml::Root(document).Name();
  if (root == "score-partwise") return document;
  if (root == "score-timewise")
    RaiseInvalid(name +
                 ": score-timewise is not supported; only score-partwise MusicXML can be read");
  RaiseInvalid(name + ": not a MusicXML score (its root element is <" + std::string(root) +
               ">, not <score-partwise>)");
}

Document ParseScore(std::string_view text, const std::string& name) {
  xml::ParseFailure failure;
  Document document = xml::TryParseMemory(text, name, failure);
  if (!document) RaiseParseFailure(name, failure);
  return CheckScore(std::move(document), name);
}

// The path of the score inside a compressed MusicXML container: the first
// root file of MusicXML's media type, or the first root file of any type.
std::string RootFilePath(const std::vector<ZipEntry>& entries, const std::string& name) {
  const auto container = std::find_if(entries.begin(), entries.end(),
                                      [](const ZipEntry& e) { return e.name == kContainerPath; });
  if (container == entries.end())
    RaiseInvalid(name + ": not compressed MusicXML: the container holds no " +
                 std::string(kContainerPath));
  const std::string containerName = name + ": " + std::string(kContainerPath);
  xml::ParseFailure failure;
  const Document document = xml::TryParseMemory(container->bytes, containerName, failure);
  if (!document) RaiseParseFailure(containerName, failure);
  std::string path;
  for (const xml::Node rootFiles : xml::Root(document).Children("rootfiles")) {
    for (const xml::Node rootFile : rootFiles.Children("rootfile")) {
      const std::string_view fullPath = rootFile.Attr("full-path");
      const std::string_view mediaType = rootFile.Attr("media-type");
      if (fullPath.empty()) continue;
      if (mediaType.empty() || mediaType == kRootMediaType) return std::string(fullPath);
      if (path.empty()) path = fullPath;
    }
  }
  if (path.empty()) RaiseInvalid(containerName + " names no root file");
  return path;
}

// Whether `path` climbs out of the container ("../score.xml", "a/../../b").
bool LeavesContainer(std::string_view path) {
  int32_t depth = 0;
  while (!path.empty()) {
    const size_t slash = path.find_first_of("/\\");
    const std::string_view step = path.substr(0, slash);
    depth += step == ".." ? -1 : (step.empty() || step == ".") ? 0 : 1;
    if (depth < 0) return true;
    if (slash == std::string_view::npos) break;
    path.remove_prefix(slash + 1);
  }
  return false;
}

Document ReadCompressed(std::string_view bytes, const std::string& name) {
  // Only the container file is read first, then only the score it names: the
  // other entries (images, other scores, archives in the archive) are never
  // inflated.
  const std::vector<ZipEntry> listing =
      ReadZipArchive(bytes, name, [](std::string_view entry) { return entry == kContainerPath; });
  std::string path = RootFilePath(listing, name);
  if (LeavesContainer(path))
    RaiseInvalid(name + ": " + std::string(kContainerPath) + " names the score " + path +
                 ", a path outside the container");
  if (path.starts_with("./")) path.erase(0, 2);
  if (path.starts_with("/")) path.erase(0, 1);
  const std::vector<ZipEntry> entries =
      ReadZipArchive(bytes, name, [&](std::string_view entry) { return entry == path; });
  const auto root = std::find_if(entries.begin(), entries.end(),
                                 [&](const ZipEntry& e) { return e.name == path; });
  if (root == entries.end())
    RaiseInvalid(name + ": " + std::string(kContainerPath) + " names the score " + path +
                 ", which the container does not hold");
  return ParseScore(root->bytes, name + ": " + path);
}

// The first bytes of a file, enough to tell a zip container from XML.
std::string FileStart(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return {};
  std::string start(4, '\0');
  stream.read(start.data(), static_cast<std::streamsize>(start.size()));
  start.resize(static_cast<size_t>(stream.gcount()));
  return start;
}

std::string WholeFile(const std::string& path) {
  std::optional<std::string> bytes = ReadFileBytes(path);
  if (!bytes)
    throw ConverterError(75, "musedata",
                         "Path/File access error: cannot read " + path + ": " + strerror(EIO));
  return std::move(*bytes);
}

// The file must be there and readable before libxml2 is asked, so that the
// message says what is wrong with the file rather than with its XML.
void CheckReadable(const std::string& path) {
  std::error_code status;
  const std::filesystem::file_status file = std::filesystem::status(path, status);
  if (!std::filesystem::exists(file))
    throw ConverterError(53, "musedata", "File " + path + " not found");
  if (std::filesystem::is_directory(file))
    throw ConverterError(75, "musedata",
                         "Path/File access error: cannot read " + path + ": it is a folder");
  std::ifstream stream(path, std::ios::binary);
  if (!stream)
    throw ConverterError(75, "musedata",
                         "Path/File access error: cannot read " + path + ": " + strerror(errno));
}

std::string EscapeAttribute(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&': escaped += "&amp;"; break;
      case '<': escaped += "&lt;"; break;
      case '>': escaped += "&gt;"; break;
      case '"': escaped += "&quot;"; break;
      default: escaped += c;
    }
  }
  return escaped;
}

}  // namespace

Document ReadMusicXml(std::string_view bytes, const std::string& name) {
  if (LooksLikeZip(bytes)) return ReadCompressed(bytes, name);
  return ParseScore(bytes, name);
}

Document ReadMusicXmlFile(const std::string& path) {
  CheckReadable(path);
  const bool compressed = std::filesystem::path(path).extension() == ".mxl";
  if (compressed || LooksLikeZip(FileStart(path))) return ReadCompressed(WholeFile(path), path);
  // Plain XML is parsed straight from the file, so that a large score is
  // never held twice, as text and as a tree.
  xml::ParseFailure failure;
  Document document = xml::TryParseFile(path, failure);
  if (!document) RaiseParseFailure(path, failure);
  return CheckScore(std::move(document), path);
}

std::string ToCompressedMusicXml(const Document& document, const std::string& rootName) {
  const std::string container =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<container>\n"
      "  <rootfiles>\n"
      "    <rootfile full-path=\"" +
      EscapeAttribute(rootName) + "\" media-type=\"" + std::string(kRootMediaType) +
      "\"/>\n"
      "  </rootfiles>\n"
      "</container>\n";
  return MakeZipArchive({{"mimetype", std::string(kMimeType)},
                         {std::string(kContainerPath), container},
                         {rootName, xml::ToIndentedString(document)}},
                        true);
}

bool WriteCompressedMusicXmlFile(const Document& document, const std::string& path,
                                 const WriteOptions& options) {
  std::string stem = std::filesystem::path(path).stem().string();
  if (stem.empty()) stem = "score";
  const std::string container = ToCompressedMusicXml(document, stem + ".xml");
  AtomicFileWriter writer(path, options.progress);
  writer.Write(container);
  return writer.Commit();
}

Document ReduceDivisions(const Document& document) {
  // Divisors are found on the host's document and applied to a copy, so the
  // copy is made only for a score that needs it.
  std::vector<int64_t> divisors;
  bool reducible = false;
  for (const xml::Node part : xml::Root(document).Children("part")) {
    divisors.push_back(export_finish::DivisorOf(part));
    reducible = reducible || divisors.back() > 1;
  }
  if (!reducible) return document;
  Document copy = xml::CopyDocument(document);
  size_t index = 0;
  for (const xml::Node part : xml::Root(copy).Children("part")) {
    const int64_t divisor = divisors[index++];
    if (divisor > 1) export_finish::DivideBy(part, divisor);
  }
  return copy;
}

int32_t CountParts(const Document& document) {
  return xml::Root(document).CountChildren("part");
}

}  // namespace musedata
