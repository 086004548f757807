#include "support/test_support.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "component/music_xml.h"
#include "component/trap.h"
#include "xml/xpath.h"

namespace musedata::test {

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "musedata-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
  m_path = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::string TempDir::Write(const std::string& name, const std::string& content) const {
  const std::filesystem::path path = std::filesystem::path(m_path) / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

int EntriesIn(const std::string& folder) {
  int count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

std::string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const ConverterError& error) {
    const int64_t offset = int64_t{error.Number()} - kErrorBase;
    const std::string number = offset >= 0 && offset < 0x10000
                                   ? std::to_string(offset)
                                   : "#" + std::to_string(error.Number());
    return number + " " + error.Source() + ": " + error.Description();
  } catch (const RunTimeError& error) {
    return "run-time " + std::to_string(error.Number()) + ": " + error.Description();
  }
  return "no error";
}

std::vector<std::string> Names(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    names.push_back(std::filesystem::relative(entry.path(), folder).string());
  std::sort(names.begin(), names.end());
  return names;
}

ToolRun RunScript(const std::string& where, const std::string& script) {
  const TempDir scratch;
  const std::string run = scratch.Write("run.sh", "TOOL='" MUSEDATA_TOOL "'\n" + script + "\n");
  const std::string out = scratch.Path() + "/stdout";
  const std::string err = scratch.Path() + "/stderr";
  const std::string command =
      "cd '" + where + "' && sh '" + run + "' >'" + out + "' 2>'" + err + "' </dev/null";
  const int raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(out), ReadFile(err)};
}

ToolRun RunTool(const std::string& where, const std::string& arguments) {
  return RunScript(where, "\"$TOOL\" " + arguments);
}

std::string Header(const std::string& partName, const std::string& groups) {
  return "(C) 2026 musedata test suite\n"
         "\n"
         "ID: {test/part} [1]\n"
         "11/05/26 A. Encoder\n"
         "WK#:12 MV#:1\n"
         "Test source, no edition\n"
         "Sonata\n"
         "Allegro\n" +
         partName + "\n" + "0 0\n" + groups + "\n";
}

Imported ImportText(const std::vector<std::string>& parts, const std::string& groupType) {
  Imported imported;
  MusicXML engine;
  engine.SetGroupType(groupType);
  engine.Warning = [&](const std::string& text) { imported.warnings.push_back(text); };
  int index = 0;
  for (const std::string& part : parts) {
    auto source = std::make_unique<LineSource>("part" + std::to_string(++index) + ".md", part);
    imported.result = engine.Load(std::move(source));
    if (!imported.result) break;
  }
  imported.document = engine.XML();
  return imported;
}

std::string XmlAt(const Document& document, const char* xpath) {
  std::string text;
  const xml::XPath query(xpath);
  for (const xml::Node node : query.Select(xml::Root(document))) text += xml::NodeToString(node);
  return text;
}

std::string Part(const std::vector<std::string>& records) {
  std::string text = Header();
  for (const std::string& record : records) text += record + "\n";
  return text + "/END\n";
}

std::string PartXml(const std::vector<std::string>& records, const char* xpath) {
  const Imported imported = ImportText(Part(records));
  if (!imported.result) return "(false)";
  std::string xml = XmlAt(imported.document, xpath);
  for (const std::string& warning : imported.warnings) xml += " [warning: " + warning + "]";
  return xml;
}

void ExpectPartXml(const std::vector<PartXmlRow>& rows) {
  for (const PartXmlRow& row : rows) {
    std::string records;
    for (const std::string& record : row.records) records += "\n  " + record;
    EXPECT_EQ(PartXml(row.records, row.xpath), row.expected) << "records:" << records;
  }
}

}  // namespace musedata::test
