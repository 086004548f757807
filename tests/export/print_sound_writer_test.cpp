#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "export/writer_harness.h"

namespace musedata::test {
namespace {

TEST(PrintSoundWriter, WritesSoundAttributesAsColumnGroups) {
  const std::pair<std::string, std::string> rows[] = {
      {R"(<sound tempo="120" dynamics="80"/>)", "S C0:W120V80\n"},
      {R"(<sound tempo="96" fine="yes"/>)", "S C0:W96 C8:Fyes\n"},
      {R"(<sound fine="yes"/>)", "S C8:Fyes\n"},
      {R"(<sound pizzicato="yes"/>)", "S C2:A\n"},
      {R"(<sound pizzicato="no"/>)", "S C2:B\n"},
      {R"(<sound dacapo="yes" segno="s1" forward-repeat="yes"/>)", "S C0:dSs1|>\n"},
      // An attribute that gives no code opens no group.
      {R"(<sound dacapo="no"/>)", "S\n"},
      {R"(<sound divisions="4" pizzicato="yes" tempo="60"/>)", "S C2:A C0:W60\n"},
      {"<sound/>", ""},
      {R"(<sound tempo="60"><midi-instrument id="P1-I1"/></sound>)", "S C0:W60\n"},
  };
  WriterHarness harness;
  for (const auto& [sound, lines] : rows) {
    SCOPED_TRACE(sound);
    EXPECT_EQ(harness.LinesOrError("<measure>" + sound + "</measure>"), lines);
  }
}

TEST(PrintSoundWriter, PrintElementsWriteNothing) {
  WriterHarness harness;
  EXPECT_EQ(harness.LinesOrError(R"(<measure><print staff-spacing="80" new-system="yes">)"
                                 "<system-layout/></print><print/></measure>"),
            "");
}

}  // namespace
}  // namespace musedata::test
