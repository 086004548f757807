#include "component/utilities.h"

#include <gtest/gtest.h>

#include "xml/node.h"
#include "xml/xpath.h"

namespace musedata {
namespace {

TEST(Utilities, InitializeXmlMakesAnEmptyPartwiseScore) {
  const Document doc = InitializeXML(true, "");
  const xml::Node root = xml::Root(doc);
  EXPECT_EQ(root.Name(), "score-partwise");
  EXPECT_FALSE(root.FirstChild()) << "the root holds no text or element";

  const xmlDtd* doctype = xmlGetIntSubset(doc.get());
  ASSERT_NE(doctype, nullptr);
  EXPECT_STREQ(reinterpret_cast<const char*>(doctype->name), "score-partwise");
  EXPECT_STREQ(reinterpret_cast<const char*>(doctype->ExternalID),
               "-//Tavrendel//DTD MusicXML 1.0 Partwise//EN");
  EXPECT_STREQ(reinterpret_cast<const char*>(doctype->SystemID),
               "http://www.musicxml.org/dtds/partwise.dtd");
  EXPECT_EQ(doc.get()->standalone, 0) << "the prolog says standalone=\"no\"";

  // XPath works on the new document, and added elements indent cleanly.
  const xml::XPath scoreParts("part-list/score-part");
  EXPECT_TRUE(scoreParts.Select(root).empty());
  root.AppendElement("part-list").AppendElement("score-part").SetAttr("id", "P1");
  ASSERT_EQ(scoreParts.Select(root).size(), 1u);
  EXPECT_EQ(scoreParts.SelectFirst(root).Attr("id"), "P1");
  const std::string text = xml::ToIndentedString(doc);
  EXPECT_NE(
      text.find("<score-partwise>\n  <part-list>\n    <score-part id=\"P1\"/>\n  </part-list>\n"),
      std::string::npos)
      << text;
}

TEST(Utilities, InitializeXmlMakesATimewiseScoreOnRequest) {
  const Document doc = InitializeXML(false, "");
  EXPECT_EQ(xml::Root(doc).Name(), "score-timewise");
  const xmlDtd* doctype = xmlGetIntSubset(doc.get());
  ASSERT_NE(doctype, nullptr);
  EXPECT_STREQ(reinterpret_cast<const char*>(doctype->name), "score-timewise");
  EXPECT_STREQ(reinterpret_cast<const char*>(doctype->ExternalID),
               "-//Tavrendel//DTD MusicXML 1.0 Timewise//EN");
  EXPECT_STREQ(reinterpret_cast<const char*>(doctype->SystemID),
               "http://www.musicxml.org/dtds/timewise.dtd");
}

TEST(Utilities, SystemIdentifierArgumentLeavesTheDocumentAlone) {
  const std::string plain = xml::ToIndentedString(InitializeXML(true, ""));
  for (const char* id :
       {"file:///opt/dtds/partwise.dtd", "C:/musicxml/partwise.dtd", "\"><evil/>"}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(xml::ToIndentedString(InitializeXML(true, id)), plain);
  }
}

TEST(Utilities, CleanseCommentLeavesNoDoubleHyphen) {
  struct Row {
    std::string_view text;
    std::string_view clean;
  };
  for (const Row& row :
       {Row{"a--b---c", "a-b-c"}, Row{"-", "-"}, Row{"", ""}, Row{"----", "-"}, Row{"---", "-"},
        Row{"--x--", "-x-"}, Row{"a - - b", "a - - b"},
        Row{"Allegro ma non troppo", "Allegro ma non troppo"}, Row{"x-\r\n-y", "x-\r\n-y"},
        Row{"H\xC3\xA4rtel--Verlag", "H\xC3\xA4rtel-Verlag"},
        Row{"pause \xE2\x80\x94 fine", "pause \xE2\x80\x94 fine"}}) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(CleanseComment(row.text), row.clean);
  }
}

}  // namespace
}  // namespace musedata
