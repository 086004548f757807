#include <gtest/gtest.h>

#include "support/test_support.h"
#include "xml/xpath.h"

namespace musedata::test {
namespace {

const char* kBass = "$ K:0 Q:4 T:4/4 C:22";

// The figures of a record lasting 4 divisions with `figures` from column 17,
// each as "(p<prefix> f<figure-number> s<suffix>)" with the elements it has.
std::string Figures(const std::string& figures) {
  const Imported imported = ImportText(Part({kBass, "f    4          " + figures}));
  EXPECT_TRUE(imported.result);
  EXPECT_EQ(XmlAt(imported.document, "//figured-bass/duration"), "<duration>4</duration>");
  std::string text;
  for (const xml::Node figure : xml::XPath("//figure").Select(xml::Root(imported.document))) {
    std::string parts;
    for (const xml::Node child : figure.Children())
      parts += (parts.empty() ? "" : " ") + std::string(child.Name().substr(0, 1)) + child.Text();
    text += "(" + parts + ")";
  }
  return text;
}

TEST(FiguredBass, FiguresBecomePrefixNumberAndSuffix) {
  // clang-format off
  const std::pair<const char*, const char*> rows[] = {
      {"#10", "(p# f10)"}, {"6#", "(f6 s#)"}, {"10+", "(f10 s+)"},
      {"+6", "(f+6)"},  // a leading sign makes a whole number
      // A flat is an empty number, unless a digit stands before it.
      {"b", "(f)"}, {"b7", "(f)"}, {"#b", "(p# f)"}, {"7b5", "(f7 sb5)"}, {"n6b", "(pn f6 sb)"},
      // A sign without a number repeats the last suffix, which only a number
      // without one clears.
      {"#x", "(p# s)"}, {"5+ #x", "(f5 s+)(p# s+)"}, {"6# 5 #y", "(f6 s#)(f5)(p# s#)"},
      {"6# #5 #y", "(f6 s#)(p# f5)(p# s)"},
      {"6  4", "(f6 p s)(f4)"},  // two blanks fill the figure before again
      {"           ", ""},
  };
  // clang-format on
  for (const auto& [figures, expected] : rows) EXPECT_EQ(Figures(figures), expected) << figures;
}

TEST(FiguredBass, FootnoteAndLevelFollowTheDuration) {
  EXPECT_EQ(PartXml({kBass, "f     12    12  3"}, "//figured-bass"),
            "<figured-bass><figure><figure-number>3</figure-number></figure>"
            "<duration>12</duration><footnote>1</footnote><level>2</level></figured-bass>");
}

TEST(FiguredBass, RecordEndingBeforeTheFiguresIsRefused) {
  EXPECT_EQ(ErrorOf([] {
              ImportText(Part({kBass, "f    4          "}));
            }),
            "6029 Verdantix: No figures in figured bass record");
}

}  // namespace
}  // namespace musedata::test
