#include <gtest/gtest.h>

#include "component/zip_archive.h"
#include "musedata/score.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

const std::string kDoctype =
    "<!DOCTYPE score-partwise PUBLIC \"-//Recordare//DTD MusicXML 3.1 Partwise//EN\" "
    "\"http://www.musicxml.org/dtds/partwise.dtd\">\n";

// A one-part score with the given prolog and measure content.
std::string Score(const std::string& prolog, const std::string& measure) {
  return prolog +
         "<score-partwise version=\"4.0\"><part-list><score-part id=\"P1\"><part-name>Viola"
         "</part-name></score-part></part-list><part id=\"P1\"><measure number=\"1\">" +
         measure + "</measure></part></score-partwise>\n";
}

// The text as UTF-16 with a byte-order mark; the text itself is ASCII.
std::string Utf16(const std::string& text, bool bigEndian) {
  std::string bytes = bigEndian ? "\xfe\xff" : "\xff\xfe";
  for (const char c : text) {
    if (bigEndian) bytes += '\0';
    bytes += c;
    if (!bigEndian) bytes += '\0';
  }
  return bytes;
}

std::string Container(const std::string& rootFiles) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<container><rootfiles>" + rootFiles +
         "</rootfiles></container>";
}

std::string Mxl(const std::vector<ZipEntry>& entries) {
  std::vector<ZipEntry> all = {{"mimetype", "application/vnd.recordare.musicxml"}};
  all.insert(all.end(), entries.begin(), entries.end());
  return MakeZipArchive(all, true);
}

const std::string kNote =
    "<note><pitch><step>C</step><octave>4</octave></pitch><duration>4</duration></note>";

// What other programs write: any version, a DOCTYPE that is never fetched,
// UTF-16, elements the export does not know, scores packed in sub-folders.
TEST(MusicXmlFile, ReadsTheShapesOtherProgramsWrite) {
  const std::string decl = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n";
  const std::string utf16 = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n";
  const std::string unknown =
      "<listening><sync type=\"none\"/></listening><note print-leger=\"no\"><pitch><step>C"
      "</step><octave>4</octave></pitch><duration>4</duration><instrument id=\"x\"/></note>";
  const std::string plain = Score(decl + kDoctype, kNote);
  const std::pair<const char*, std::string> rows[] = {
      {"a DOCTYPE, never fetched", plain},
      {"no prolog", Score("", kNote)},
      {"UTF-8 byte-order mark", "\xef\xbb\xbf" + plain},
      {"UTF-16 little-endian", Utf16(Score(utf16 + kDoctype, kNote), false)},
      {"UTF-16 big-endian", Utf16(Score(utf16 + kDoctype, kNote), true)},
      {"unknown elements", Score(decl, unknown)},
      {"mxl, root in a sub-folder",
       Mxl({{"META-INF/container.xml",
             Container("<rootfile full-path=\"scores/viola.musicxml\" "
                       "media-type=\"application/vnd.recordare.musicxml+xml\"/>")},
            {"scores/viola.musicxml", plain}})},
      {"mxl, a PDF named first",
       Mxl({{"META-INF/container.xml",
             Container("<rootfile full-path=\"viola.pdf\" media-type=\"application/pdf\"/>"
                       "<rootfile full-path=\"viola.xml\"/>")},
            {"viola.pdf", "%PDF-1.4"},
            {"viola.xml", plain}})},
  };
  for (const auto& [name, bytes] : rows) {
    SCOPED_TRACE(name);
    const TempDir folder;
    const std::string path = folder.Write("score.musicxml", bytes);
    Document document;
    EXPECT_EQ(ErrorOf([&] { document = ReadMusicXmlFile(path); }), "no error");
    EXPECT_EQ(CountParts(document), 1);
    EXPECT_EQ(XmlAt(document, "//part-name/text()"), "Viola");
    EXPECT_EQ(XmlAt(document, "//note/duration"), "<duration>4</duration>");
  }
}

// Every failure is one error naming the file, and the place in it for XML.
TEST(MusicXmlFile, NamesTheFileAndWhatIsWrongWithIt) {
  const std::string partwise = Score("", kNote);
  const std::pair<std::string, std::string> rows[] = {
      {"<score-partwise>\n<part>\n</score-partwise>",
       "score.xml, line 3, column 18: not well-formed XML: Premature end of data in tag "
       "score-partwise line 1"},
      {"", "score.xml, line 1, column 1: not well-formed XML: Document is empty"},
      {"<score-timewise/>", "score.xml: score-timewise is not supported"},
      {"<opus/>", "score.xml: not a MusicXML score (its root element is <opus>"},
      {Mxl({{"score.xml", partwise}}),
       "score.xml: not compressed MusicXML: the container holds no META-INF/container.xml"},
      {Mxl({{"META-INF/container.xml", Container("<rootfile full-path=\"a/s.xml\"/>")},
            {"s.xml", partwise}}),
       "score.xml: META-INF/container.xml names the score a/s.xml, which the container does not "
       "hold"},
      {Mxl({{"META-INF/container.xml", Container("")}}),
       "score.xml: META-INF/container.xml names no root file"},
      {Mxl({{"META-INF/container.xml", "<container>"}}),
       "score.xml: META-INF/container.xml, line 1, column 12: not well-formed XML"},
      {Mxl({{"META-INF/container.xml", Container("<rootfile full-path=\"s.xml\"/>")},
            {"s.xml", "<score-partwise><part></score-partwise>"}}),
       "score.xml: s.xml, line 1, column 40: not well-formed XML"},
  };
  for (const auto& [bytes, message] : rows) {
    SCOPED_TRACE(message);
    const TempDir folder;
    const std::string path = folder.Write("score.xml", bytes);
    const std::string error = ErrorOf([&] { ReadMusicXmlFile(path); });
    EXPECT_EQ(error.rfind("#5 musedata: " + folder.Path() + "/" + message, 0), 0u) << error;
  }
  const TempDir folder;
  EXPECT_EQ(ErrorOf([&] { ReadMusicXmlFile(folder.Path() + "/none.xml"); }),
            "#53 musedata: File " + folder.Path() + "/none.xml not found");
  EXPECT_EQ(ErrorOf([&] {
              ReadMusicXmlFile(folder.Write("text.mxl", "just text"));
            }).rfind("#5 musedata: " + folder.Path() + "/text.mxl: not a zip container", 0),
            0u);
}

TEST(MusicXmlFile, CompressedScoresReadBackAsTheSameDocument) {
  const Document score = ReadMusicXml(Score(kDoctype, kNote), "viola.xml");
  const std::string mxl = ToCompressedMusicXml(score, "viola & co.xml");
  const std::vector<ZipEntry> entries = ReadZipArchive(mxl, "viola.mxl");
  ASSERT_EQ(entries.size(), 3u);
  EXPECT_EQ(entries[0].name, "mimetype");
  EXPECT_NE(entries[1].bytes.find("full-path=\"viola &amp; co.xml\""), std::string::npos);
  EXPECT_EQ(ToMusicXmlText(ReadMusicXml(mxl, "viola.mxl")), ToMusicXmlText(score));

  const TempDir folder;
  WriteCompressedMusicXmlFile(score, folder.Path() + "/minuet.mxl");
  EXPECT_EQ(ReadZipArchive(ReadFile(folder.Path() + "/minuet.mxl"), "minuet.mxl")[2].name,
            "minuet.xml");
  EXPECT_EQ(ToMusicXmlText(ReadMusicXmlFile(folder.Path() + "/minuet.mxl")), ToMusicXmlText(score));
}

// A part in the shape notation programs write it, at `perQuarter` divisions:
// a direction offset of an eighth before the beat, a quarter, an eighth,
// triplet eighths, a backup of a half, a forward of a dotted eighth and a
// sixteenth.
std::string TimedPart(const std::string& id, int perQuarter) {
  auto duration = [&](int numerator, int denominator) {
    return "<duration>" + std::to_string(perQuarter * numerator / denominator) + "</duration>";
  };
  return "<part id=\"" + id + "\"><measure number=\"1\"><attributes><divisions>" +
         std::to_string(perQuarter) + "</divisions></attributes>" +
         "<direction><direction-type><words>dolce</words></direction-type><offset>-" +
         std::to_string(perQuarter / 2) + "</offset></direction>" + "<note>" + duration(1, 1) +
         "</note><note>" + duration(1, 2) + "</note><note>" + duration(1, 6) + "</note><note>" +
         duration(1, 6) + "</note><note>" + duration(1, 6) + "</note><backup>" + duration(2, 1) +
         "</backup><forward>" + duration(3, 4) + "</forward><note>" + duration(1, 4) +
         "</note></measure></part>";
}

std::string TimedScore(const std::vector<std::string>& parts) {
  std::string text = "<score-partwise><part-list/>";
  for (const std::string& part : parts) text += part;
  return text + "</score-partwise>";
}

// Every value that counts divisions, in document order, of part `id`.
std::string TimedValues(const Document& document, const std::string& id) {
  const std::string path =
      "//part[@id='" + id + "']//*[self::divisions or self::duration or " + "self::offset]/text()";
  return XmlAt(document, path.c_str());
}

TEST(MusicXmlFile, ReduceDivisionsDividesEachPartByItsCommonDivisor) {
  const struct {
    const char* name;
    std::string part;
    std::string reduced;  // values after reduction, run together as XmlAt gives them
  } rows[] = {
      {"10080 per quarter", TimedPart("P1", 10080), "12-61262222493"},
      {"already smallest", TimedPart("P1", 12), "12-61262222493"},
      {"fits, so keeps its divisions", TimedPart("P1", 24), "24-12241244448186"},
      {"a decimal duration leaves the part",
       "<part id=\"P1\"><measure><attributes><divisions>480</divisions></attributes><note>"
       "<duration>240.5</duration></note></measure></part>",
       "480240.5"},
      {"no divisions leaves the part",
       "<part id=\"P1\"><measure><note><duration>480</duration></note></measure></part>", "480"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string text = TimedScore({row.part, TimedPart("P2", 960)});
    const Document original = ReadMusicXml(text, "score.xml");
    const Document reduced = ReduceDivisions(original);
    EXPECT_EQ(TimedValues(reduced, "P1"), row.reduced);
    EXPECT_EQ(TimedValues(reduced, "P2"), "12-61262222493") << "each part on its own";
    EXPECT_EQ(ToMusicXmlText(original), ToMusicXmlText(ReadMusicXml(text, "score.xml")))
        << "the host's document is never changed";
  }
  const Document smallest = ReadMusicXml(TimedScore({TimedPart("P1", 12)}), "score.xml");
  EXPECT_TRUE(ReduceDivisions(smallest) == smallest) << "no copy when nothing changes";
}

}  // namespace
}  // namespace musedata::test
