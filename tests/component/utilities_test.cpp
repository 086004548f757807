#include "component/utilities.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "xml/node.h"

namespace musedata {
namespace {

// An empty score of either kind, with its document type declaration and
// standalone="no"; the system identifier argument changes nothing.
TEST(Utilities, InitializeXmlMakesAnEmptyScoreOfEitherKind) {
  const std::tuple<bool, std::string, std::string> rows[] = {{true, "partwise", "Partwise"},
                                                             {false, "timewise", "Timewise"}};
  for (const auto& [partwise, kind, Kind] : rows) {
    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n<!DOCTYPE score-" + kind +
        " PUBLIC \"-//Tavrendel//DTD MusicXML 1.0 " + Kind +
        "//EN\" \"http://www.musicxml.org/dtds/" + kind + ".dtd\">\n<score-" + kind + "/>\n";
    for (const char* id : {"", "file:///opt/dtds/partwise.dtd", "C:/dtds/x.dtd", "\"><evil/>"})
      EXPECT_EQ(xml::ToIndentedString(InitializeXML(partwise, id)), expected) << id;
  }
}

TEST(Utilities, CleanseCommentLeavesNoDoubleHyphen) {
  // clang-format off
  const std::pair<std::string_view, std::string_view> rows[] = {
      {"a--b---c", "a-b-c"}, {"-", "-"}, {"", ""}, {"----", "-"}, {"--x--", "-x-"},
      {"a - - b", "a - - b"}, {"x-\r\n-y", "x-\r\n-y"},
      {"H\xC3\xA4rtel--Verlag", "H\xC3\xA4rtel-Verlag"},
      {"pause \xE2\x80\x94 fine", "pause \xE2\x80\x94 fine"},
  };
  // clang-format on
  for (const auto& [text, clean] : rows) EXPECT_EQ(CleanseComment(text), clean) << text;
}

}  // namespace
}  // namespace musedata
