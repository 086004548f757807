#include <gtest/gtest.h>

#include "component/error_codes.h"
#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

std::string FiguredBassXml(const std::string& record) {
  const Imported imported = ImportText(Part({"$ K:0 Q:4 T:4/4 C:22", record}));
  EXPECT_TRUE(imported.result);
  return XmlAt(imported.document, "/score-partwise/part/measure/figured-bass");
}

TEST(FiguredBass, FiguresBecomePrefixNumberAndSuffix) {
  struct Row {
    const char* name;
    std::string figures;   // from column 17 of a record lasting 4 divisions
    std::string expected;  // the figure elements
  };
  const Row rows[] = {
      {"two plain figures", "6 4",
       "<figure><figure-number>6</figure-number></figure>"
       "<figure><figure-number>4</figure-number></figure>"},
      {"a lone sign is a prefix", "#", "<figure><prefix>#</prefix></figure>"},
      {"prefix before one digit", "#6",
       "<figure><prefix>#</prefix><figure-number>6</figure-number></figure>"},
      {"prefix before two digits", "#10",
       "<figure><prefix>#</prefix><figure-number>10</figure-number></figure>"},
      {"suffix after one digit", "6#",
       "<figure><figure-number>6</figure-number><suffix>#</suffix></figure>"},
      {"suffix after two digits", "10+",
       "<figure><figure-number>10</figure-number><suffix>+</suffix></figure>"},
      {"a leading sign makes a whole number", "+6",
       "<figure><figure-number>+6</figure-number></figure>"},
      {"a lone flat is an empty number", "b", "<figure><figure-number/></figure>"},
      {"a flat before a digit is an empty number", "b7", "<figure><figure-number/></figure>"},
      {"a flat after a digit is a suffix", "7b5",
       "<figure><figure-number>7</figure-number><suffix>b5</suffix></figure>"},
      {"a flat after a prefix is an empty number", "#b",
       "<figure><prefix>#</prefix><figure-number/></figure>"},
      {"a flat after prefix and digit is a suffix", "n6b",
       "<figure><prefix>n</prefix><figure-number>6</figure-number><suffix>b</suffix></figure>"},
      {"a sign without number repeats the last suffix", "5+ #x",
       "<figure><figure-number>5</figure-number><suffix>+</suffix></figure>"
       "<figure><prefix>#</prefix><suffix>+</suffix></figure>"},
      {"a whole number keeps the suffix to repeat", "6# 5 #y",
       "<figure><figure-number>6</figure-number><suffix>#</suffix></figure>"
       "<figure><figure-number>5</figure-number></figure>"
       "<figure><prefix>#</prefix><suffix>#</suffix></figure>"},
      {"a number without suffix clears the suffix to repeat", "6# #5 #y",
       "<figure><figure-number>6</figure-number><suffix>#</suffix></figure>"
       "<figure><prefix>#</prefix><figure-number>5</figure-number></figure>"
       "<figure><prefix>#</prefix><suffix/></figure>"},
      {"no suffix to repeat at first", "#x", "<figure><prefix>#</prefix><suffix/></figure>"},
      {"two blanks fill the figure before again", "6  4",
       "<figure><figure-number>6</figure-number><prefix/><suffix/></figure>"
       "<figure><figure-number>4</figure-number></figure>"},
      {"blank figure columns", "           ", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string record = "f    4          " + row.figures;
    EXPECT_EQ(FiguredBassXml(record),
              "<figured-bass>" + row.expected + "<duration>4</duration></figured-bass>");
  }
}

TEST(FiguredBass, FootnoteAndLevelFollowTheDuration) {
  EXPECT_EQ(FiguredBassXml("f     12    12  3"),
            "<figured-bass><figure><figure-number>3</figure-number></figure>"
            "<duration>12</duration><footnote>1</footnote><level>2</level></figured-bass>");
}

TEST(FiguredBass, RecordEndingBeforeTheFiguresIsRefused) {
  try {
    ImportText(Part({"$ K:0 Q:4 T:4/4 C:22", "f    4          "}));
    FAIL() << "a figured-bass record of 16 characters was accepted";
  } catch (const ConverterError& error) {
    EXPECT_EQ(error.Number(), kErrorBase + kErrFiguredBass);
    EXPECT_EQ(error.Source(), kErrorSource);
    EXPECT_EQ(error.Description(), "No figures in figured bass record");
  }
}

}  // namespace
}  // namespace musedata::test
