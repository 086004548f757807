#include <gtest/gtest.h>

#include "component/error_codes.h"
#include "encoding/record_view.h"
#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

// A figured-bass record lasting a quarter (4 divisions) with `figures` from column 17.
std::string FiguredBass(const std::string& figures) {
  return LineBuilder().Put(1, "f").PutRight(8, "4").Put(17, figures).Finish();
}

std::string FiguredBassXml(const std::string& record) {
  const Imported imported = ImportText(Part({"$ K:0 Q:4 T:4/4 C:22", record}));
  EXPECT_TRUE(imported.result);
  return XmlAt(imported.document, "/score-partwise/part/measure/figured-bass");
}

TEST(FiguredBass, FiguresBecomePrefixNumberAndSuffix) {
  struct Row {
    const char* name;
    std::string record;
    std::string expected;
  };
  const std::string duration = "<duration>4</duration>";
  const Row rows[] = {
      {"two plain figures", FiguredBass("6 4"),
       "<figured-bass><figure><figure-number>6</figure-number></figure>"
       "<figure><figure-number>4</figure-number></figure>" +
           duration + "</figured-bass>"},
      {"a lone sign is a prefix", FiguredBass("#"),
       "<figured-bass><figure><prefix>#</prefix></figure>" + duration + "</figured-bass>"},
      {"prefix before one digit", FiguredBass("#6"),
       "<figured-bass><figure><prefix>#</prefix><figure-number>6</figure-number></figure>" +
           duration + "</figured-bass>"},
      {"prefix before two digits", FiguredBass("#10"),
       "<figured-bass><figure><prefix>#</prefix><figure-number>10</figure-number></figure>" +
           duration + "</figured-bass>"},
      {"suffix after one digit", FiguredBass("6#"),
       "<figured-bass><figure><figure-number>6</figure-number><suffix>#</suffix></figure>" +
           duration + "</figured-bass>"},
      {"suffix after two digits", FiguredBass("10+"),
       "<figured-bass><figure><figure-number>10</figure-number><suffix>+</suffix></figure>" +
           duration + "</figured-bass>"},
      {"a leading sign makes a whole number", FiguredBass("+6"),
       "<figured-bass><figure><figure-number>+6</figure-number></figure>" + duration +
           "</figured-bass>"},
      {"a lone flat is an empty number", FiguredBass("b"),
       "<figured-bass><figure><figure-number/></figure>" + duration + "</figured-bass>"},
      {"a flat before a digit is an empty number", FiguredBass("b7"),
       "<figured-bass><figure><figure-number/></figure>" + duration + "</figured-bass>"},
      {"a flat after a digit is a suffix", FiguredBass("7b5"),
       "<figured-bass><figure><figure-number>7</figure-number><suffix>b5</suffix></figure>" +
           duration + "</figured-bass>"},
      {"a flat after a prefix is an empty number", FiguredBass("#b"),
       "<figured-bass><figure><prefix>#</prefix><figure-number/></figure>" + duration +
           "</figured-bass>"},
      {"a flat after prefix and digit is a suffix", FiguredBass("n6b"),
       "<figured-bass><figure><prefix>n</prefix><figure-number>6</figure-number>"
       "<suffix>b</suffix></figure>" +
           duration + "</figured-bass>"},
      {"a sign without number repeats the last suffix", FiguredBass("5+ #x"),
       "<figured-bass><figure><figure-number>5</figure-number><suffix>+</suffix></figure>"
       "<figure><prefix>#</prefix><suffix>+</suffix></figure>" +
           duration + "</figured-bass>"},
      {"a whole number keeps the suffix to repeat", FiguredBass("6# 5 #y"),
       "<figured-bass><figure><figure-number>6</figure-number><suffix>#</suffix></figure>"
       "<figure><figure-number>5</figure-number></figure>"
       "<figure><prefix>#</prefix><suffix>#</suffix></figure>" +
           duration + "</figured-bass>"},
      {"a number without suffix clears the suffix to repeat", FiguredBass("6# #5 #y"),
       "<figured-bass><figure><figure-number>6</figure-number><suffix>#</suffix></figure>"
       "<figure><prefix>#</prefix><figure-number>5</figure-number></figure>"
       "<figure><prefix>#</prefix><suffix/></figure>" +
           duration + "</figured-bass>"},
      {"no suffix to repeat at first", FiguredBass("#x"),
       "<figured-bass><figure><prefix>#</prefix><suffix/></figure>" + duration + "</figured-bass>"},
      {"two blanks fill the figure before again", FiguredBass("6  4"),
       "<figured-bass><figure><figure-number>6</figure-number><prefix/><suffix/></figure>"
       "<figure><figure-number>4</figure-number></figure>" +
           duration + "</figured-bass>"},
      {"blank figures columns", "f    4           ",
       "<figured-bass>" + duration + "</figured-bass>"},
      {"footnote and level after the duration",
       LineBuilder().Put(1, "f").PutRight(8, "12").Put(13, "1").Put(14, "2").Put(17, "3").Finish(),
       "<figured-bass><figure><figure-number>3</figure-number></figure><duration>12</duration>"
       "<footnote>1</footnote><level>2</level></figured-bass>"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(FiguredBassXml(row.record), row.expected);
  }
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
