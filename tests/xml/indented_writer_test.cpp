#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <random>

#include "xml/node.h"

namespace musedata::xml {
namespace {

// libxml2's own indented text of the document: what WriteIndented must give.
std::string LibxmlText(const Document& doc) {
  xmlChar* buffer = nullptr;
  int size = 0;
  xmlDocDumpFormatMemoryEnc(doc.get(), &buffer, &size, "UTF-8", 1);
  std::string text(reinterpret_cast<const char*>(buffer), static_cast<size_t>(size));
  xmlFree(buffer);
  return text;
}

Document ParseKeepingBlanks(const std::string& text) {
  return Document(xmlReadMemory(text.data(), static_cast<int>(text.size()), "test.xml", nullptr,
                                XML_PARSE_NONET));
}

TEST(IndentedWriter, WritesWhatLibxmlWrites) {
  const std::string deep = [] {
    std::string open, close;
    for (int level = 0; level < 34; ++level) {
      open += "<l" + std::to_string(level) + ">";
      close = "</l" + std::to_string(level) + ">" + close;
    }
    return open + "<leaf/>" + close;
  }();
  std::string many = "<a>";
  for (int measure = 0; measure < 5000; ++measure) many += "<m><n>1</n></m>";
  const struct {
    const char* name;
    std::string text;
  } rows[] = {
      {"nested and empty elements",
       "<score-partwise version=\"1.0\"><part id=\"P1\"><measure number=\"1\"><note><rest/>"
       "<duration>4</duration></note><barline/></measure></part></score-partwise>"},
      {"mixed content stays as it stands", "<a><b>one <i>two</i> three<c><d/></c></b><e/></a>"},
      {"text escapes", "<a><b>R&amp;B &lt;x&gt; 3 &gt; 2 \"q\" 'a' &#13; end</b></a>"},
      {"attribute escapes",
       "<a v=\"&quot;x&quot; &amp; &lt;y&gt; 'z'\" w=\"tab&#9;line&#10;cr&#13;\" e=\"\"/>"},
      {"characters beyond ASCII", "<a t=\"Fl\xC3\xBBte \xE2\x99\xAD\"><b>Ges\xC3\xA4nge</b></a>"},
      {"comments and instructions at every level",
       "<!-- before --><?app do this?><a><!--in formatted--><b>text<!--in mixed--></b>"
       "<?app?><c/></a><!--after-->"},
      {"CDATA, split at its end marker",
       "<a><b><![CDATA[x < y ]]]]><![CDATA[> z]]></b><c><![CDATA[]]></c></a>"},
      {"DOCTYPE with public and system identifiers",
       "<?xml version=\"1.0\" standalone=\"no\"?><!DOCTYPE score-partwise PUBLIC "
       "\"-//Recordare//DTD MusicXML 1.0 Partwise//EN\" "
       "\"http://www.musicxml.org/dtds/partwise.dtd\"><score-partwise/>"},
      {"DOCTYPE with a system identifier in single quotes",
       "<?xml version=\"1.0\" standalone=\"yes\"?><!DOCTYPE a SYSTEM 'say \"a\".dtd'><a/>"},
      {"indentation stops at thirty levels", deep},
      {"blank text kept by the parser", "<a>\n  <b> </b>\n</a>"},
      // Left to libxml2: the text must still be the same.
      {"namespaces", "<a xmlns=\"urn:x\" xmlns:p=\"urn:p\"><p:b p:c=\"1\"/></a>"},
      {"a DTD with declarations", "<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>"},
      {"a namespace after the first pieces went out", many + "<p:b xmlns:p=\"urn:p\"/></a>"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const Document doc = ParseKeepingBlanks(row.text);
    ASSERT_TRUE(doc);
    EXPECT_EQ(ToIndentedString(doc), LibxmlText(doc));
  }
}

// Trees built through the node layer, as the import builds them, with every
// kind of node it makes and text full of characters to escape.
TEST(IndentedWriter, WritesRandomTreesAsLibxmlDoes) {
  std::mt19937 random(20261124);
  const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  const char* names[] = {"note", "pitch", "step", "duration", "notations", "words"};
  const std::string alphabet = "ab <>&\"'\t\r\n\xC3\xA9-1";
  const auto text = [&] {
    std::string result;
    for (int length = pick(6); length > 0; --length) result += alphabet[pick(alphabet.size())];
    return result;
  };
  for (int round = 0; round < 200; ++round) {
    SCOPED_TRACE(round);
    const Document doc = ParseMemory("<score-partwise/>", "random.xml", 6004);
    std::vector<Node> open{Root(doc)};
    for (int step = pick(60); step > 0; --step) {
      const Node parent = open[static_cast<size_t>(pick(static_cast<int>(open.size())))];
      switch (pick(6)) {
        case 0:
        case 1: {
          const Node element = parent.AppendElement(names[pick(6)]);
          if (pick(3) == 0) element.SetAttr("type", text());
          open.push_back(element);
          break;
        }
        case 2: parent.AppendText(text()); break;
        case 3: parent.AppendComment("c" + std::to_string(step)); break;
        case 4: parent.AppendEntityRef("amp"); break;
        default: parent.AppendElement(names[pick(6)], text()); break;
      }
    }
    EXPECT_EQ(ToIndentedString(doc), LibxmlText(doc));
  }
}

// Once the receiver refuses a piece, nothing more is offered and the write
// reports the failure. (The pieces themselves join up to libxml2's text: the
// row with a namespace after the first pieces checks that.)
TEST(IndentedWriter, StopsAtARefusal) {
  const Document doc = ParseMemory("<part/>", "long.xml", 6004);
  for (int measure = 0; measure < 5000; ++measure)
    Root(doc).AppendElement("measure").AppendElement("note", std::to_string(measure));
  int offered = 0;
  EXPECT_FALSE(WriteIndented(doc, [&](std::string_view) { return ++offered > 1; }));
  EXPECT_EQ(offered, 1);
}

}  // namespace
}  // namespace musedata::xml
