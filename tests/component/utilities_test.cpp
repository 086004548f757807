#include "component/utilities.h"

#include <gtest/gtest.h>

#include "xml/node.h"

namespace musedata {
namespace {

std::string Text(const xmlChar* text) {
  return text ? reinterpret_cast<const char*>(text) : "(none)";
}

TEST(Utilities, InitializeXmlMakesAnEmptyScoreOfEitherKind) {
  const struct {
    bool partwise;
    const char* root;
    const char* publicId;
    const char* systemId;
  } rows[] = {
      {true, "score-partwise", "-//Tavrendel//DTD MusicXML 1.0 Partwise//EN",
       "http://www.musicxml.org/dtds/partwise.dtd"},
      {false, "score-timewise", "-//Tavrendel//DTD MusicXML 1.0 Timewise//EN",
       "http://www.musicxml.org/dtds/timewise.dtd"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.root);
    const Document doc = InitializeXML(row.partwise, "");
    EXPECT_EQ(xml::Root(doc).Name(), row.root);
    EXPECT_FALSE(xml::Root(doc).FirstChild()) << "the root holds no text or element";
    const xmlDtd* doctype = xmlGetIntSubset(doc.get());
    ASSERT_NE(doctype, nullptr);
    EXPECT_EQ(Text(doctype->name), row.root);
    EXPECT_EQ(Text(doctype->ExternalID), row.publicId);
    EXPECT_EQ(Text(doctype->SystemID), row.systemId);
    EXPECT_EQ(doc.get()->standalone, 0) << "the prolog says standalone=\"no\"";
  }
}

TEST(Utilities, SystemIdentifierArgumentLeavesTheDocumentAlone) {
  const std::string plain = xml::ToIndentedString(InitializeXML(true, ""));
  for (const char* id : {"file:///opt/dtds/partwise.dtd", "C:/musicxml/partwise.dtd", "\"><evil/>"})
    EXPECT_EQ(xml::ToIndentedString(InitializeXML(true, id)), plain) << id;
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
