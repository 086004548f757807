#pragma once

// Runs the export's record writers on the children of a MusicXML fragment and
// gives the MuseData lines they wrote, without the export's header and
// measure walk around them.

#include <memory>
#include <string>
#include <vector>

#include "component/music_xml.h"
#include "support/test_support.h"
#include "xml/node.h"

namespace musedata {

// White-box access to the export's record writers.
struct EngineProbe {
  static void StartOutput(MusicXML& engine, const std::string& path) {
    engine.m_output = std::make_unique<AtomicFileWriter>(path);
  }
  static void FinishOutput(MusicXML& engine) {
    engine.m_output->Commit();
    engine.m_output.reset();
  }
  static void DropOutput(MusicXML& engine) { engine.m_output.reset(); }
  static void WriteElement(MusicXML& engine, xml::Node element) {
    const std::string_view name = element.Name();
    if (name == "note") engine.SaveNote(element);
    if (name == "direction") engine.SaveDirection(element);
    if (name == "figured-bass") engine.SaveFiguredBass(element);
    if (name == "sound") engine.SaveSound(element);
    if (name == "print") engine.SavePrint(element);
  }
};

namespace test {

// What the writers wrote for one fragment.
struct Written {
  std::string lines;  // every line, each ended by "\n"
  std::vector<std::string> warnings;
};

class WriterHarness {
 public:
  // Writes each child element of `measureXml` (a `measure` element's text)
  // with the writer its name selects: note, direction, figured-bass, sound,
  // print. Errors propagate.
  Written Write(const std::string& measureXml);
  // The lines of Write(measureXml), or the error it raised in ErrorOf's form.
  std::string LinesOrError(const std::string& measureXml);

 private:
  // One engine for the harness's life, as one conversion: its once-only
  // warnings stay shown.
  MusicXML m_engine;
};

inline Written WriterHarness::Write(const std::string& measureXml) {
  const TempDir folder;
  const std::string path = folder.Path() + "/out.md";
  const Document doc = xml::ParseMemory(measureXml, "fragment.xml", 0);
  Written written;
  m_engine.Warning = [&](const std::string& text) { written.warnings.push_back(text); };
  EngineProbe::StartOutput(m_engine, path);
  try {
    for (const xml::Node element : xml::Root(doc).Children())
      EngineProbe::WriteElement(m_engine, element);
  } catch (...) {
    EngineProbe::DropOutput(m_engine);
    throw;
  }
  EngineProbe::FinishOutput(m_engine);
  written.lines = ReadFile(path);
  return written;
}

inline std::string WriterHarness::LinesOrError(const std::string& measureXml) {
  std::string lines;
  const std::string error = ErrorOf([&] { lines = Write(measureXml).lines; });
  return error == "no error" ? lines : error;
}

}  // namespace test
}  // namespace musedata
