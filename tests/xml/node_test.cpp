#include "xml/node.h"

#include <gtest/gtest.h>

#include <cstring>

#include "component/trap.h"
#include "support/test_support.h"
#include "xml/xpath.h"

namespace musedata::xml {
namespace {

Document Parse(const char* text) {
  return ParseMemory(text, "test.xml", 6004);
}

// An empty handle answers every read with nothing, so chains of lookups need
// no checks; removing it is harmless, but writing through it is an error.
TEST(XmlNode, EmptyNodeAnswersEmptyAndRefusesWrites) {
  const Node empty;
  EXPECT_FALSE(empty);
  EXPECT_EQ(empty.Name(), "");
  EXPECT_FALSE(empty.Child("measure"));
  EXPECT_FALSE(empty.Parent().FirstChild().Next());
  EXPECT_EQ(empty.Children().begin(), empty.Children().end());
  EXPECT_EQ(empty.CountChildren("part"), 0);
  EXPECT_EQ(empty.Attr("number"), "");
  EXPECT_EQ(empty.AttrInt("number", -7), -7);
  EXPECT_EQ(empty.Text(), "");
  EXPECT_FALSE(Root(Document()));
  EXPECT_TRUE(XPath("part").Select(empty).empty());
  empty.RemoveAttr("number");
  empty.Remove();
  EXPECT_EQ(test::ErrorOf([&] { empty.AppendElement("note"); }),
            "run-time 91: Object variable or With block variable not set");
}

TEST(XmlNode, TextReadsEntityReferencesAsTheirCharacters) {
  const Document doc = Parse("<words/>");
  const Node words = Root(doc);
  words.AppendText("Rock ");
  for (const char* entity : {"amp", "lt", "gt", "quot", "apos"}) words.AppendEntityRef(entity);
  words.AppendText(" Roll");
  EXPECT_EQ(words.Text(), "Rock &<>\"' Roll");
  EXPECT_EQ(NodeToString(words), "<words>Rock &amp;&lt;&gt;&quot;&apos; Roll</words>");
  // Text only gathers the element's own character data, not its children's.
  words.AppendElement("syllabic", "single");
  EXPECT_EQ(words.Text(), "Rock &<>\"' Roll");
}

// A number is read only when the whole value, blanks aside, is one that fits.
TEST(XmlNode, AttributeReads) {
  const Document doc = Parse(
      "<m padded=\" 12 \" negative=\"-3\" word=\"x1\" empty=\"\" huge=\"99999999999\" "
      "escaped=\"a &amp; b\"/>");
  const Node m = Root(doc);
  // clang-format off
  const std::tuple<const char*, std::string_view, int32_t> rows[] = {
      {"padded", " 12 ", 12}, {"negative", "-3", -3}, {"word", "x1", 99}, {"empty", "", 99},
      {"huge", "99999999999", 99}, {"escaped", "a & b", 99}, {"absent", "", 99},
  };
  // clang-format on
  for (const auto& [name, text, number] : rows) {
    EXPECT_EQ(m.Attr(name), text) << name;
    EXPECT_EQ(m.AttrInt(name, 99), number) << name;
  }
  EXPECT_TRUE(m.HasAttr("empty"));
  EXPECT_FALSE(m.HasAttr("absent"));
}

TEST(XmlNode, SharedTextsAndValuesCanBeChangedAndFreed) {
  // Short texts and attribute values are shared through the document's
  // dictionary: changing or freeing one node must leave the others intact.
  const Document doc = Parse("<measure/>");
  const Node measure = Root(doc);
  const std::string verse(80, 'a');  // too long to share
  for (int i = 0; i < 3; ++i) {
    const Node note = measure.AppendElement("note");
    note.SetAttr("default-x", "12");
    note.SetAttr("print-object", "no");
    note.SetAttr("color", "");
    note.AppendElement("stem", "up");
    note.AppendElement("lyric", verse);
  }
  const Node first = measure.Child("note");
  first.SetAttr("default-x", "15");
  first.RemoveAttr("print-object");
  first.Child("stem").FirstChild().SetContent("down");
  first.Child("lyric").FirstChild().SetContent("la");
  first.NextElement("note").Remove();
  EXPECT_TRUE(first.HasAttr("color"));
  const std::string untouched =
      "<note default-x=\"12\" print-object=\"no\" color=\"\"><stem>up</stem><lyric>" + verse +
      "</lyric></note>";
  EXPECT_EQ(NodeToString(measure),
            "<measure><note default-x=\"15\" color=\"\"><stem>down</stem><lyric>la</lyric>"
            "</note>" +
                untouched + "</measure>");
}

TEST(XmlNode, XPathSelectsRelativeToItsContext) {
  const Document doc = Parse(
      "<score-partwise><part-list><score-part id=\"P1\"/><score-part id=\"P2\"/></part-list>"
      "<part id=\"P1\"><measure number=\"1\"/><measure number=\"2\"/></part>"
      "<part id=\"P2\"><measure number=\"7\"/></part></score-partwise>");
  const Node root = Root(doc);
  const XPath measures("measure");
  const Node second = root.Child("part").NextElement("part");
  ASSERT_EQ(measures.Select(second).size(), 1u);
  EXPECT_EQ(measures.SelectFirst(second).Attr("number"), "7");
  EXPECT_TRUE(measures.Select(root).empty());
  EXPECT_EQ(XPath("part-list/score-part").Select(root).size(), 2u);
  EXPECT_EQ(XPath("part/measure").SelectFirst(root).Attr("number"), "1");
  EXPECT_FALSE(XPath("part/note").SelectFirst(root));
  EXPECT_EQ(XPath("..").SelectFirst(second.Child("measure")), second);
  // A number is not a node set: nothing is selected.
  EXPECT_TRUE(XPath("count(part)").Select(root).empty());
  EXPECT_THROW(XPath("part[@id="), RunTimeError);
}

TEST(XmlNode, ParseFailureNamesDocumentLineAndColumn) {
  ParseFailure failure;
  EXPECT_FALSE(TryParseMemory("<score>\n  <part></score>", "broken.xml", failure));
  EXPECT_EQ(failure.url, "broken.xml");
  EXPECT_EQ(failure.line, 2);
  EXPECT_GT(failure.column, 0);
  EXPECT_NE(failure.reason.back(), '\n');
  const std::string error = test::ErrorOf([] { Parse("<score>\n  <part></score>"); });
  const std::string start = "6004 Verdantix: XML parsing error in test.xml at line 2, column " +
                            std::to_string(failure.column) + ": ";
  EXPECT_EQ(error.substr(0, start.size()), start) << error;
}

TEST(XmlNode, ParsingNeverReadsExternalEntities) {
  const test::TempDir folder;
  const std::string secret = folder.Write("secret.txt", "password");
  const std::string text =
      "<!DOCTYPE s [<!ENTITY secret SYSTEM \"file://" + secret + "\">]><s>&secret;</s>";
  ParseFailure failure;
  const Document doc = TryParseMemory(text, "xxe.xml", failure);
  ASSERT_TRUE(doc) << failure.reason;
  EXPECT_EQ(ToIndentedString(doc).find("password"), std::string::npos);
}

// "-->" closes a comment: text ending in a hyphen, appended or set, must
// still serialise to a document that parses.
TEST(XmlNode, CommentEndingInHyphenStaysWellFormed) {
  for (const char* text : {"da capo-", "-"}) {
    SCOPED_TRACE(text);
    const Document doc = Parse("<measure/>");
    Root(doc).AppendComment(text);
    Root(doc).AppendComment("").SetContent(text);
    const std::string serialised = ToIndentedString(doc);
    ParseFailure failure;
    const Document again = TryParseMemory(serialised, "again.xml", failure);
    ASSERT_TRUE(again) << serialised << failure.reason;
    EXPECT_EQ(Root(again).FirstChild().Content().substr(0, std::string_view(text).size()), text);
  }
}

// The text arrives in pieces; a writer that fails is not called again.
// Names from a NameScope's table are the document's own, even where a
// caller's buffer is reused for another name, and in a second document.
TEST(XmlNode, NameScopeGivesEachNameItsOwnText) {
  const Document doc = Parse("<measure/>");
  const Document other = Parse("<measure/>");
  {
    const NameScope names(doc);
    char name[16];
    for (const char* each : {"note", "rest", "note", "duration"}) {
      std::strcpy(name, each);
      const Node element = Root(doc).AppendElement(name);
      element.SetAttr(name, each);
      Root(other).AppendElement(name);
    }
    Root(doc).Child("rest").Remove();
    // Short texts come from a table too: many of them share its slots.
    const NameScope inner(other);
    for (int number = 0; number < 2000; ++number)
      Root(other).AppendText(std::to_string(number * 7919) + " ");
  }
  Root(doc).AppendElement("barline");
  EXPECT_EQ(NodeToString(Root(doc)),
            "<measure><note note=\"note\"/><note note=\"note\"/>"
            "<duration duration=\"duration\"/><barline/></measure>");
  std::string texts;
  for (int number = 0; number < 2000; ++number) texts += std::to_string(number * 7919) + " ";
  EXPECT_EQ(NodeToString(Root(other)),
            "<measure><note/><rest/><note/><duration/>" + texts + "</measure>");
}

}  // namespace
}  // namespace musedata::xml
