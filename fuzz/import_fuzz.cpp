// Feeds arbitrary bytes to the import, as one MuseData part and as a set file,
// and finishes whatever score it built for notation programs. Every failure must be one of the
// converter's own errors; anything else escaping (a crash, a foreign exception, a sanitizer report)
// is a finding.

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "component/music_xml.h"
#include "component/set_file.h"
#include "musedata/finish.h"

namespace {

void CheckError(const musedata::ConverterError& error) {
  const int32_t offset = error.Number() - musedata::kErrorBase;
  if (error.Source() != musedata::kErrorSource || offset < 6003 || offset > 6099) std::abort();
}

void LoadAll(std::vector<std::unique_ptr<musedata::LineSource>> sources) {
  musedata::MusicXML engine;
  engine.Warning = [](const std::string&) {};
  try {
    for (auto& source : sources)
      if (!engine.Load(std::move(source))) break;
    musedata::FinishScore(engine.XML());
  } catch (const musedata::ConverterError& error) {
    CheckError(error);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  std::vector<std::unique_ptr<musedata::LineSource>> single;
  single.push_back(std::make_unique<musedata::LineSource>("fuzz.md", bytes));
  LoadAll(std::move(single));
  LoadAll(musedata::SplitSetFile("fuzz.msd", bytes, musedata::TextEncoding::Auto));
  return 0;
}
