#pragma once

#include <functional>
#include <string>
#include <vector>

#include "musedata/document.h"

namespace musedata::test {

// A fresh folder under the system's temporary folder, removed with the object.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& Path() const { return m_path; }
  // Writes `content` to the file `name` in the folder, making the folders the name
  // passes through, and returns its path.
  std::string Write(const std::string& name, const std::string& content) const;

 private:
  std::string m_path;
};

// The whole content of a file.
std::string ReadFile(const std::string& path);

// How many entries the folder holds.
int EntriesIn(const std::string& folder);

// Every name in the folder and below it, relative to it, sorted.
std::vector<std::string> Names(const std::string& folder);

// What `action` raised, as "<number> <source>: <description>": the number is
// the offset from kErrorBase for the converter's own range, "#<number>" for any
// other, "run-time <number>" for a run-time error. "no error" when it returned.
std::string ErrorOf(const std::function<void()>& action);

// The standard eleven header lines of a MuseData part file, with the given
// part name and group-membership record, ready for data records to follow.
std::string Header(const std::string& partName = "Violino I",
                   const std::string& groups = "Group memberships: score\nscore: part 1 of 1");

// What a run of the musedata tool gave.
struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

// Runs the shell `script` in the folder `where`, with $TOOL naming the built
// musedata tool and nothing on standard input.
ToolRun RunScript(const std::string& where, const std::string& script);

// Runs the built musedata tool with `arguments` (shell words) in the folder `where`.
ToolRun RunTool(const std::string& where, const std::string& arguments);

// What a load of MuseData text gave: the engine's result and its document.
struct Imported {
  bool result = false;
  Document document;
  std::vector<std::string> warnings;
};

// Loads `parts` (the text of MuseData files, each one part) one after another
// into one document with a fresh engine, as the files "part1.md", "part2.md", ...
// Stops at the first load that returns false. Errors propagate.
Imported ImportText(const std::vector<std::string>& parts, const std::string& groupType = "");
inline Imported ImportText(const std::string& part, const std::string& groupType = "") {
  return ImportText(std::vector<std::string>{part}, groupType);
}

// The serialised XML (no indentation) of every node the XPath selects in the
// document, concatenated; "" when nothing is selected.
std::string XmlAt(const Document& document, const char* xpath);

// A MuseData part: the standard header followed by `records` (each a line)
// and "/END".
std::string Part(const std::vector<std::string>& records);

// Loads Part(records) and gives the XML that `xpath` selects, then
// " [warning: <text>]" for each warning; "(false)" when the load returned false.
std::string PartXml(const std::vector<std::string>& records, const char* xpath);

// One row of a table of parts: the records of a part, the XPath to apply to
// what they import to, and what PartXml gives for it.
struct PartXmlRow {
  std::vector<std::string> records;
  const char* xpath;
  std::string expected;
};

// Checks every row, naming its records when it fails.
void ExpectPartXml(const std::vector<PartXmlRow>& rows);

}  // namespace musedata::test
