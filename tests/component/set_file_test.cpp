#include "component/set_file.h"

#include <gtest/gtest.h>

#include "support/test_support.h"

namespace musedata {
namespace {

using test::Header;

// Each part as "@<first line> <name>: <first line>..<last line>", joined by
// " | ", then " stray <first>-<last>" for each run of lines outside every part.
std::string Layout(const std::string& bytes) {
  const SetFileLayout layout = SetFileParts(bytes);
  std::string text;
  for (const SetFilePart& part : layout.parts) {
    std::string_view lines = part.bytes;
    while (!lines.empty() && (lines.back() == '\n' || lines.back() == '\r')) lines.remove_suffix(1);
    const std::string_view first = lines.substr(0, lines.find_first_of("\r\n"));
    const size_t lastBreak = lines.find_last_of("\r\n");
    const std::string_view last =
        lastBreak == std::string_view::npos ? lines : lines.substr(lastBreak + 1);
    text += (text.empty() ? "@" : " | @") + std::to_string(part.firstLine) + " " +
            std::string(part.name) + ": " + std::string(first) + ".." + std::string(last);
  }
  for (const LineRange& range : layout.strayLines)
    text += " stray " + std::to_string(range.first) + "-" + std::to_string(range.last);
  return text;
}

TEST(SetFile, FindsPartsByTheirGroupMembershipRecord) {
  const std::string data = "$ K:0 Q:4 T:4/4 C:4\n/END\n";
  const std::string oboe = Header("Oboe") + data;
  const std::string horn = Header("Horn") + data;
  // The rights lines of a published part are often empty: still records.
  const std::string bare = "\n\n\n" + Header("Bare").substr(Header().find("11/05/26")) + data;
  const std::string rights = "(C) 2026 musedata test suite";
  const std::string one = "@1 Oboe: " + rights + "../END";
  const struct {
    const char* name;
    std::string bytes;
    std::string layout;
  } rows[] = {
      {"a part file", oboe, one},
      {"the same part closed by /eof", oboe + "/eof\n", one},
      {"parts split by /END alone, with @ lines between",
       oboe + "@ second part\n@ follows\n" + horn + horn,
       one + " | @15 Horn: @ second part../END | @31 Horn: " + rights + "../END"},
      {"empty rights lines and a closing /eof", bare + "/eof\n", "@1 Bare: ../END"},
      {"empty rights lines after another part's /eof", oboe + "/eof\n" + bare + "/eof\n//\n",
       one + " | @16 Bare: ../END"},
      {"a damaged toggle that swallows a header still leaves a part",
       oboe + "&\nFILENAME = 02\n2&&&&&\n" + horn + "/eof\n" + horn,
       one + " | @15 Horn: &../END | @33 Horn: " + rights + "../END"},
      {"a damaged toggle leaves a block open to its /END",
       Header("Oboe") + "&\nnotes\n2&&&&&\n$ K:0 Q:4 T:4/4 C:4\n/END\n" + horn,
       one + " | @18 Horn: " + rights + "../END"},
      {"reference lines and the block naming the part go with it",
       "@@@ Trio\n&\nFILENAME = 01\n&\n" + oboe + "/eof\n&\nFILENAME = 02\n&\n" + horn +
           "/eof\n//\n",
       "@1 Oboe: @@@ Trio../END | @20 Horn: &../END"},
      {"CR LF line ends",
       "&\r\nOboe\r\n&\r\n" + std::string("r1\r\n\r\nr3\r\nr4\r\nWK#:1\r\nr6\r\nr7\r\nr8\r\n") +
           "Oboe\r\n\r\nGroup memberships: score\r\nscore: part 1 of 1\r\n/END\r\n/eof\r\n",
       "@1 Oboe: &../END"},
      {"a last part without /END ends before /eof and blank lines", Header("Oboe") + "$\n\n/eof\n",
       "@1 Oboe: " + rights + "..$"},
      {"a part without /END ends where the next header begins",
       Header("Oboe") + "$ K:0 Q:4 T:4/4 C:4\n" + horn,
       "@1 Oboe: " + rights + "..$ K:0 Q:4 T:4/4 C:4 | @14 Horn: " + rights + "../END"},
      {"text outside every part is reported", "junk\nmore junk\n\n" + oboe + "/eof\ntrailer\n",
       "@4 Oboe: " + rights + "../END stray 1-2 stray 19-19"},
      {"a group record inside a comment block is no header",
       "&\nGroup memberships: score\n&\n$\n/END\n", ""},
      {"a stage-1 file without a group record", "A4 1\nB4 1\n/END\n", ""},
  };
  for (const auto& row : rows) EXPECT_EQ(Layout(row.bytes), row.layout) << row.name;
}

// A block's closing line with a stray character is found only where the
// block would otherwise run to the end of its part.
TEST(SetFile, StrayBlockEndsCloseOnlyBlocksLeftOpen) {
  const struct {
    const char* name;
    std::string bytes;
    const char* ends;  // "line/opened on" of each stray end found
  } rows[] = {
      {"a block left open", "&\nnote\n2&&&&&\n$  Q:1\n/END\n", "3/1"},
      {"closed properly, the stray line is a comment", "&\n2&&&&\n&\n/END\n", ""},
      {"no stray line: refused as it is", "&\n2&&& and words\n/END\n", ""},
      {"two parts, one block each left open", "&\nx&&&\n/END\n&\n/END\n&\n\n#&&&\n", "2/1 8/6"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::string found;
    for (const StrayCommentEnd& end : FindStrayCommentEnds(row.bytes)) {
      found += (found.empty() ? "" : " ") + std::to_string(end.line) + "/" +
               std::to_string(end.blockLine);
      EXPECT_EQ(row.bytes.substr(end.offset, end.text.size()), end.text);
    }
    EXPECT_EQ(found, row.ends);
  }
}

// A set's MIDI channel table has a header and no music; a part has a "$"
// record, a note or a bar line.
TEST(SetFile, TellsPartsFromTablesWithoutMusic) {
  const std::string table = Header() + "hdr   channel program\nh1    1       74\n/END\n";
  EXPECT_FALSE(HasMusicalData(table));
  for (const char* music :
       {"$  Q:1", "C4    1", "cF#5   1", "gBf3  0", " E4    1", "rest 2", "measure 1"})
    EXPECT_TRUE(HasMusicalData(Header() + music + "\n/END\n")) << music;
  EXPECT_FALSE(HasMusicalData(Header() + "Horn in F\n/END\n"));
  EXPECT_EQ(PartGroups("x\nGroup memberships: Score, parts  sound\n"),
            (std::vector<std::string>{"score", "parts", "sound"}));
}

TEST(SetFile, EncodingIsDecidedForTheWholeFile) {
  // The first part alone is valid UTF-8; the second has a code page 437 byte.
  // Both must be read as code page 437, so the first part's "\xC3\xA4" is two
  // characters, not one.
  const std::string bytes = Header("A \xC3\xA4") + "/END\n/eof\n" + Header("H\x84rtel") + "/END\n";
  std::string names;
  for (const auto& source : SplitSetFile("set.msd", bytes, TextEncoding::Auto)) {
    names += source->Name() + " @" + std::to_string(source->FirstLineInFile()) + ":";
    while (!source->AtEnd()) {
      const std::string_view line = source->ReadLine();
      if (source->Line() == 10) names += " " + std::string(line);
    }
    names += ";";
  }
  EXPECT_EQ(names, "set.msd part 1 @1: A \u251C\u00F1;set.msd part 2 @15: H\u00E4rtel;");
}

}  // namespace
}  // namespace musedata
