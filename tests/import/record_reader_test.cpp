#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "component/music_xml.h"
#include "support/test_support.h"
#include "xml/xpath.h"

namespace musedata {

// White-box access to the engine's part arrays (upper bound = size - 1).
struct EngineProbe {
  static size_t PartsUpperBound(const MusicXML& engine) { return engine.m_score.parts.size() - 1; }
  static size_t ScorePartsUpperBound(const MusicXML& engine) {
    return engine.m_score.scoreParts.size() - 1;
  }
};

namespace test {
namespace {

// A header whose membership record names no group, so that the header zone is
// exactly its eleven lines plus the comment lines inside it.
std::string PlainHeader() {
  return Header("Violino I", "Group memberships:");
}

std::string Lines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

// The header with `extra` lines inserted after header line `after`.
std::string HeaderWith(size_t after, const std::vector<std::string>& extra) {
  std::string header = PlainHeader();
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

Followed Follow(const std::string& text, MusicXML& engine) {
  Followed followed;
  bool partSeen = false;
  engine.Loading = [&](int32_t current, int32_t size, bool&) {
    followed.records.push_back(engine.CurrentRecord());
    followed.current.push_back(current);
    followed.size = size;
    if (!partSeen && xml::Root(engine.XML()).Child("part")) {
      partSeen = true;
      followed.firstData = engine.CurrentRecord();
    }
  };
  followed.result = engine.Load(std::make_unique<LineSource>("part1.md", text));
  followed.document = engine.XML();
  return followed;
}

Followed Follow(const std::string& text) {
  MusicXML engine;
  return Follow(text, engine);
}

// The text of every comment node the XPath selects, joined by "|".
std::string Comments(const Document& document, const char* xpath) {
  std::string text;
  for (const xml::Node node : xml::XPath(xpath).Select(xml::Root(document)))
    text += (text.empty() ? "" : "|") + std::string(node.Content());
  return text;
}

TEST(RecordReader, FirstDataRecordOpensPartAndMeasureX1) {
  const Imported imported = ImportText(Part({"$ K:0 Q:4 T:4/4 C:4", "@ kept"}));
  ASSERT_TRUE(imported.result);
  EXPECT_EQ(XmlAt(imported.document, "/score-partwise/part/measure/@number"), " number=\"X1\"");
}

TEST(RecordReader, CommentsInTheHeaderLengthenItAndGoToTheRoot) {
  const std::string kAttributes = "$ K:0 Q:4 T:3/4 C:4";
  struct Row {
    const char* name;
    std::string text;
    std::string firstData;
    std::string rootComments;
  };
  const std::vector<Row> rows = {
      {"no comments", PlainHeader() + Lines({kAttributes, "/END"}), kAttributes, ""},
      {"single-line comment",
       HeaderWith(3, {"@ from the autograph"}) + Lines({kAttributes, "/END"}), kAttributes,
       " from the autograph"},
      {"comment block",
       HeaderWith(1, {"& block", "proof-read -- twice", "by two editors", "&"}) +
           Lines({kAttributes, "/END"}),
       kAttributes, "\r\nproof-read - twice\r\nby two editors\r\n"},
      // A block whose lines reach the last header line still lengthens the
      // header by all of them.
      {"comment block before the last header record",
       HeaderWith(10, {"&", "inner", "&"}) + Lines({kAttributes, "/END"}), kAttributes,
       "\r\ninner\r\n"},
      {"comment lines before the last header record",
       HeaderWith(10, {"@ one", "@ two"}) + Lines({kAttributes, "/END"}), kAttributes, " one| two"},
      // The line after the eleventh header record is data, whatever it holds.
      {"comment after the last header record", HeaderWith(11, {"@ in the music"}) + Lines({"/END"}),
       "@ in the music", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Followed followed = Follow(row.text);
    EXPECT_TRUE(followed.result);
    EXPECT_EQ(followed.firstData, row.firstData);
    EXPECT_EQ(Comments(followed.document, "/score-partwise/comment()"), row.rootComments);
  }
}

TEST(RecordReader, ContinuationLinesJoinTheRecordBefore) {
  const std::string note = "G4     4        q     u                    Glo-";
  const Followed followed =
      Follow(PlainHeader() +
             Lines({"a stray continuation", "$ K:0 Q:4 T:3/4 C:4", note, "a|ri-", "a|a", "&",
                    "inside", "a comment line", "&", "/FINE", "Coda", "a coda", "/END"}));
  ASSERT_TRUE(followed.result);
  std::vector<std::string> data(followed.records.begin() + 11, followed.records.end());
  const std::vector<std::string> expected = {"a stray continuation",
                                             "$ K:0 Q:4 T:3/4 C:4",
                                             note + "|ri-|a",
                                             "&",
                                             "inside",
                                             "a comment line",
                                             "&",
                                             "/FINE",
                                             "Coda",
                                             "a coda",
                                             "/END"};
  EXPECT_EQ(data, expected);
  EXPECT_EQ(Comments(followed.document, "//measure/comment()"), "\r\ninside\r\na comment line\r\n");
  EXPECT_EQ(Comments(followed.document, "/score-partwise/comment()"), "Coda\r\na coda\r\n");
}

TEST(RecordReader, CommentBlockInTheDataBecomesOneComment) {
  const Imported imported = ImportText(Part({"$ K:0 Q:4 T:3/4 C:4", "& opened here, text dropped",
                                             "Violin II doubles", "the oboe -- here", "& closed"}));
  ASSERT_TRUE(imported.result);
  EXPECT_EQ(Comments(imported.document, "/score-partwise/part/measure/comment()"),
            "\r\nViolin II doubles\r\nthe oboe - here\r\n");
  EXPECT_EQ(Comments(imported.document, "/score-partwise/comment()"), "");
}

TEST(RecordReader, DataRecordsThatAddNothing) {
  struct Row {
    const char* name;
    std::vector<std::string> records;
    bool result;
    int measures;
  };
  for (const Row& row : {
           Row{"unknown lower-case record", {"d lower case", "x", "~", "#"}, true, 0},
           Row{"continuation starting the data", {"a", "a note"}, true, 0},
           Row{"end removes an empty last measure", {}, true, 0},
           Row{"end keeps a measure with content", {"@ kept"}, true, 1},
           Row{"end removes the measure a final bar line opened",
               {"@ bar 1", "measure 2"},
               true,
               1},
       }) {
    SCOPED_TRACE(row.name);
    const Followed followed = Follow(PlainHeader() + Lines(row.records) + "/END\n");
    EXPECT_EQ(followed.result, row.result);
    EXPECT_EQ(xml::XPath("part/measure").Select(xml::Root(followed.document)).size(),
              static_cast<size_t>(row.measures));
    EXPECT_EQ(XmlAt(followed.document, "part/measure/*"), "");
  }
}

TEST(RecordReader, EmptyDataRecordEndsTheLoadWithFalse) {
  MusicXML engine;
  const Followed followed = Follow(Part({"$ K:0 Q:4 T:3/4 C:4", "", "@ never read"}), engine);
  EXPECT_FALSE(followed.result);
  EXPECT_EQ(followed.records.back(), "");
  EXPECT_EQ(Comments(followed.document, "//measure/comment()"), "");
  // The stream stays open, so the host can name the line that stopped the load.
  EXPECT_EQ(engine.RecordLineNumber(), 14);
  EXPECT_GT(engine.LineNumber(), 0);
}

TEST(RecordReader, TextAfterFineBecomesOneCommentAfterTheParts) {
  const Imported imported = ImportText(Part({"@ in the measure", "/FINE", "Da capo al fine", "",
                                             "senza -- repetizione", "a not joined"}));
  ASSERT_TRUE(imported.result);
  EXPECT_EQ(Comments(imported.document, "/score-partwise/part/following-sibling::comment()"),
            "Da capo al fine\r\n\r\nsenza - repetizione\r\na not joined\r\n");
  EXPECT_EQ(Comments(imported.document, "//measure/comment()"), " in the measure");
  EXPECT_EQ(Comments(imported.document, "/score-partwise/*[last()]/following-sibling::comment()"),
            Comments(imported.document, "/score-partwise/comment()"));
}

TEST(RecordReader, UnknownEndRecordRaises6027) {
  struct Row {
    std::string record;
    std::string description;
  };
  for (const Row& row : {Row{"/FIN", "Unrecognized end-of-file record \"FIN\""},
                         Row{"/ENDE", "Unrecognized end-of-file record \"ENDE\""},
                         Row{"/", "Unrecognized end-of-file record \"\""}}) {
    SCOPED_TRACE(row.record);
    try {
      ImportText(Part({"@ before", row.record}));
      ADD_FAILURE() << "no error raised";
    } catch (const ConverterError& error) {
      EXPECT_EQ(error.Number(), kErrorBase + 6027);
      EXPECT_EQ(error.Source(), "Verdantix");
      EXPECT_EQ(error.Description(), row.description);
    }
  }
}

TEST(RecordReader, CancellingInTheFirstEventStopsAfterOneRecord) {
  MusicXML engine;
  int events = 0;
  engine.Loading = [&](int32_t, int32_t, bool& cancel) {
    ++events;
    cancel = true;
  };
  EXPECT_FALSE(engine.Load(std::make_unique<LineSource>("part1.md", Part({"@ x"}))));
  EXPECT_EQ(events, 1);
  EXPECT_EQ(engine.CurrentRecord(), "(C) 2026 musedata test suite");
}

TEST(RecordReader, ErrorsFromTheHostsHandlerFollowTheConvention) {
  struct Row {
    const char* name;
    std::function<void()> raise;
    int32_t number;
    std::string description;
  };
  const std::vector<Row> rows = {
      {"cancellation error passes unchanged",
       [] { throw ConverterError(kErrorBase + 6007, "Verdantix", "Cancelled by the user"); },
       kErrorBase + 6007, "Cancelled by the user"},
      {"host's own error is wrapped", [] { throw ConverterError(42, "Score editor", "Closed"); },
       kErrorBase + 6008, "MuseData Load error 42: Closed"},
      {"library exception is wrapped", [] { throw std::out_of_range("index"); }, kErrorBase + 6008,
       "MuseData Load error 9: Subscript out of range"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    MusicXML engine;
    engine.Loading = [&](int32_t, int32_t, bool&) { row.raise(); };
    try {
      engine.Load(std::make_unique<LineSource>("part1.md", Part({"@ x"})));
      ADD_FAILURE() << "no error raised";
    } catch (const ConverterError& error) {
      EXPECT_EQ(error.Number(), row.number);
      EXPECT_EQ(error.Source(), "Verdantix");
      EXPECT_EQ(error.Description(), row.description);
    }
  }
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
  const std::string unended = Lines({"$ K:0 Q:4 T:3/4 C:4", "@ one", "@ two"});
  const Followed open = Follow(PlainHeader() + unended);
  EXPECT_TRUE(open.result);
  ASSERT_EQ(open.records.size(), 15u);
  EXPECT_EQ(open.records[13], "@ two");
  EXPECT_EQ(open.records[14], "@ two");
}

TEST(RecordReader, EveryLoadAppendsThePartAndTheArraysGrowBy100) {
  MusicXML engine;
  EXPECT_EQ(engine.LineNumber(), 0);
  for (int part = 1; part <= 101; ++part) {
    SCOPED_TRACE(part);
    ASSERT_TRUE(engine.Load(std::make_unique<LineSource>(
        "part" + std::to_string(part) + ".md", Part({"@ part " + std::to_string(part)}))));
    EXPECT_EQ(engine.LineNumber(), 0) << "the stream is closed after a complete load";
    if (part == 1 || part == 100) {
      EXPECT_EQ(EngineProbe::PartsUpperBound(engine), 100u);
    }
  }
  EXPECT_EQ(EngineProbe::PartsUpperBound(engine), 200u);
  EXPECT_EQ(EngineProbe::ScorePartsUpperBound(engine), 200u);
  const Document document = engine.XML();
  EXPECT_EQ(xml::XPath("part").Select(xml::Root(document)).size(), 101u);
  EXPECT_EQ(Comments(document, "part[2]/measure/comment()"), " part 2");
  EXPECT_EQ(Comments(document, "part[101]/measure/comment()"), " part 101");
  // The line last read stays readable after the source has been closed.
  EXPECT_EQ(engine.CurrentLine(), "/END");
}

TEST(RecordReader, GroupTypeIsTrimmedAndLowerCased) {
  MusicXML engine;
  for (const auto& [set, read] : std::vector<std::pair<std::string, std::string>>{
           {" Parts ", "parts"}, {"SCORE", "score"}, {"", ""}, {"  ", ""}}) {
    engine.SetGroupType(set);
    EXPECT_EQ(engine.GroupType(), read);
  }
}

TEST(RecordReader, MissingFileRaises6078) {
  const TempDir folder;
  for (const std::string& name : {folder.Path() + "/nope.md", folder.Path()}) {
    SCOPED_TRACE(name);
    MusicXML engine;
    try {
      engine.Load(name);
      ADD_FAILURE() << "no error raised";
    } catch (const ConverterError& error) {
      EXPECT_EQ(static_cast<uint32_t>(error.Number()), 0x800417BEu);
      EXPECT_EQ(error.Source(), "Verdantix");
      EXPECT_EQ(error.Description(), "File " + name + " not found");
    }
    EXPECT_FALSE(engine.XML());
  }
}

}  // namespace
}  // namespace test
}  // namespace musedata
