// Input no musician typed: huge lines, endless continuations, nested comment
// toggles and binary noise. Each must end in a result or in one of the
// converter's own errors; none may crash or hang.

#include <gtest/gtest.h>

#include <random>

#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

std::string Repeat(const std::string& text, size_t times) {
  std::string repeated;
  repeated.reserve(text.size() * times);
  for (size_t i = 0; i < times; ++i) repeated += text;
  return repeated;
}

std::string Noise(size_t size) {
  std::mt19937 random(20261122);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random() & 0xFF);
  return bytes;
}

TEST(HostileInput, EndsInAResultOrTheConvertersOwnError) {
  const std::string note = "C4     2        q     d";
  struct Case {
    const char* name;
    std::string text;
  };
  const std::vector<Case> cases = {
      {"a 1 MB lyric line", Part({note + "                    " + Repeat("la|", 350'000)})},
      {"a 2 MB direction of font changes",
       Part({"*               D       " + Repeat("!32a", 500'000)})},
      {"300,000 continuation lines", Part({note, Repeat("a xyz\n", 300'000) + "@ after"})},
      {"200,000 comment toggles", Part({Repeat("&\n", 200'000) + "@ inside"})},
      {"100,000 notes", Part({Repeat(note + "\n", 100'000) + "@ last"})},
      {"binary noise", Noise(1'000'000)},
      {"binary noise after a header", Header() + Noise(200'000)},
      {"a header and nothing else", Header()},
      {"nothing at all", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      const Imported imported = ImportText(c.text);
      // A load that ended normally made a document.
      if (imported.result) {
        EXPECT_TRUE(imported.document || c.text.empty());
      }
    } catch (const ConverterError& error) {
      const int32_t offset = error.Number() - kErrorBase;
      EXPECT_TRUE(error.Source() == kErrorSource && offset >= 6003 && offset <= 6082)
          << std::hex << error.Number() << " " << error.Source() << ": " << error.Description();
    }
  }
}

}  // namespace
}  // namespace musedata::test
