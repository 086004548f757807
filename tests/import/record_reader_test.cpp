#include <gtest/gtest.h>

#include "component/music_xml.h"
#include "support/test_support.h"
#include "xml/xpath.h"

namespace musedata::test {
namespace {

std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

// A header whose membership record names no group, so that the header zone is
// exactly its eleven lines plus the comment lines inside it; `extra` lines
// are inserted after header line `after`.
std::string PlainHeader(size_t after = 0, const std::vector<std::string>& extra = {}) {
  std::string header = Header("Violino I", "Group memberships:");
  size_t at = 0;
  for (size_t line = 0; line < after; ++line) at = header.find('\n', at) + 1;
  return header.insert(at, Lines(extra));
}

// What one load showed its host: the record and progress of every Loading event.
struct Followed {
  bool result = false;
  std::vector<std::string> records;
  std::vector<int32_t> current;
  int32_t size = 0;
  std::string firstData;  // the record after which the part element first existed
  Document document;
};

Followed Follow(const std::string& text) {
  MusicXML engine;
  Followed followed;
  engine.Loading = [&](int32_t current, int32_t size, bool&) {
    followed.records.push_back(engine.CurrentRecord());
    followed.current.push_back(current);
    followed.size = size;
    if (followed.firstData.empty() && xml::Root(engine.XML()).Child("part"))
      followed.firstData = engine.CurrentRecord();
  };
  followed.result = engine.Load(std::make_unique<LineSource>("part1.md", text));
  followed.document = engine.XML();
  return followed;
}

// The text of every comment node the XPath selects, joined by "|".
std::string Comments(const Document& document, const char* xpath) {
  std::string text;
  for (const xml::Node node : xml::XPath(xpath).Select(xml::Root(document)))
    text += (text.empty() ? "" : "|") + std::string(node.Content());
  return text;
}

// The header zone is eleven records plus every comment line inside it, up to
// its last record; its comments go to the score's root.
TEST(RecordReader, CommentsInTheHeaderLengthenItAndGoToTheRoot) {
  const std::string kAttributes = "$ K:0 Q:4 T:3/4 C:4";
  struct Row {
    const char* name;
    std::string header;
    std::string firstData;
    std::string rootComments;
  };
  const std::vector<Row> rows = {
      {"single-line comment", PlainHeader(3, {"@ from the autograph"}), kAttributes,
       " from the autograph"},
      {"comment block", PlainHeader(1, {"& block", "proof-read -- twice", "by two editors", "&"}),
       kAttributes, "\r\nproof-read - twice\r\nby two editors\r\n"},
      // A block whose lines reach the last header line still lengthens the
      // header by all of them.
      {"comment block before the last header record", PlainHeader(10, {"&", "inner", "&"}),
       kAttributes, "\r\ninner\r\n"},
      {"comment lines before the last header record", PlainHeader(10, {"@ one", "@ two"}),
       kAttributes, " one| two"},
      // The line after the eleventh header record is data, whatever it holds.
      {"comment after the last header record", PlainHeader(11, {"@ in the music"}),
       "@ in the music", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Followed followed = Follow(row.header + Lines({kAttributes, "/END"}));
    EXPECT_TRUE(followed.result);
    EXPECT_EQ(followed.firstData, row.firstData);
    EXPECT_EQ(Comments(followed.document, "/score-partwise/comment()"), row.rootComments);
  }
}

// A line starting with "a" continues the record before, except inside a
// comment block and after "/FINE"; the text of a block's opening line is
// dropped. With no record before it, it is a record of no known kind, which
// is passed over.
TEST(RecordReader, ContinuationLinesJoinTheRecordBefore) {
  const std::string note = "G4     4        q     u                    Glo-";
  const Followed followed =
      Follow(PlainHeader() + Lines({"a stray continuation", "$ K:0 Q:4 T:3/4 C:4", note, "a|ri-",
                                    "a|a", "& opened here, text dropped", "inside -- it",
                                    "a comment line", "&", "/FINE", "Coda", "", "a coda", "/END"}));
  ASSERT_TRUE(followed.result);
  const std::vector<std::string> data(followed.records.begin() + 11, followed.records.end());
  EXPECT_EQ(data, (std::vector<std::string>{"a stray continuation", "$ K:0 Q:4 T:3/4 C:4",
                                            note + "|ri-|a", "& opened here, text dropped",
                                            "inside -- it", "a comment line", "&", "/FINE", "Coda",
                                            "", "a coda", "/END"}));
  EXPECT_EQ(Comments(followed.document, "//measure/comment()"),
            "\r\ninside - it\r\na comment line\r\n");
  EXPECT_EQ(Comments(followed.document, "/score-partwise/comment()"), "Coda\r\n\r\na coda\r\n");
}

TEST(RecordReader, ProgressCountsEveryRecordAndItsLineEnd) {
  std::string text = Part({"$ K:0 Q:4 T:3/4 C:4", "@ H\x84rtel"});
  for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2))
    text.insert(at, "\r");
  const Followed followed = Follow(text);
  ASSERT_TRUE(followed.result);
  EXPECT_EQ(followed.size, static_cast<int32_t>(text.size()));
  int32_t expected = 0;
  for (size_t i = 0; i < followed.records.size(); ++i) {
    expected += CharacterCount(followed.records[i]) + 2;
    EXPECT_EQ(followed.current[i], expected) << followed.records[i];
  }
  // Every line ends in CR LF and holds single-byte characters: progress ends at the size.
  EXPECT_EQ(followed.current.back(), followed.size);

  // Without "/END", one further call finds the end of the data and reports once more.
  const Followed open = Follow(PlainHeader() + Lines({"$ K:0 Q:4 T:3/4 C:4", "@ one", "@ two"}));
  EXPECT_TRUE(open.result);
  EXPECT_EQ(std::vector<std::string>(open.records.begin() + 12, open.records.end()),
            (std::vector<std::string>{"@ one", "@ two", "@ two"}));
}

// The part arrays start with room for 100 parts and grow past it.
TEST(RecordReader, EveryLoadAppendsItsPartPastTheHundredth) {
  MusicXML engine;
  EXPECT_EQ(engine.LineNumber(), 0);
  for (int part = 1; part <= 101; ++part) {
    SCOPED_TRACE(part);
    ASSERT_TRUE(engine.Load(std::make_unique<LineSource>(
        "part" + std::to_string(part) + ".md", Part({"@ part " + std::to_string(part)}))));
    EXPECT_EQ(engine.LineNumber(), 0) << "the stream is closed after a complete load";
  }
  const Document document = engine.XML();
  EXPECT_EQ(xml::XPath("part").Select(xml::Root(document)).size(), 101u);
  EXPECT_EQ(Comments(document, "part[2]/measure/comment()"), " part 2");
  EXPECT_EQ(Comments(document, "part[101]/measure/comment()"), " part 101");
  // The line last read stays readable after the source has been closed.
  EXPECT_EQ(engine.CurrentLine(), "/END");
}

}  // namespace
}  // namespace musedata::test
