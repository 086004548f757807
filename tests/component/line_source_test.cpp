#include "component/line_source.h"

#include <gtest/gtest.h>

#include "component/trap.h"
#include "support/test_support.h"

namespace musedata {
namespace {

std::vector<std::string> ReadAll(LineSource& source) {
  std::vector<std::string> lines;
  while (!source.AtEnd()) {
    EXPECT_EQ(source.Line(), static_cast<int32_t>(lines.size()) + 1);
    lines.emplace_back(source.ReadLine());
  }
  EXPECT_EQ(source.ReadLine(), "") << "reading past the end gives nothing";
  return lines;
}

TEST(LineSource, SplitsAtEveryKindOfLineEnd) {
  using Lines = std::vector<std::string>;
  struct Row {
    const char* name;
    std::string_view bytes;
    Lines lines;
  };
  for (const Row& row : {
           Row{"LF", "C4\nD4\n", Lines{"C4", "D4"}},
           Row{"CR LF", "C4\r\nD4\r\n", Lines{"C4", "D4"}},
           Row{"lone CR", "C4\rD4\r", Lines{"C4", "D4"}},
           Row{"no line end at the end", "C4\nD4", Lines{"C4", "D4"}},
           Row{"empty lines kept", "C4\n\r\n\rD4\n", Lines{"C4", "", "", "D4"}},
           Row{"LF CR is two line ends", "C4\n\rD4", Lines{"C4", "", "D4"}},
           Row{"empty input", "", Lines{}},
           Row{"one line end", "\n", Lines{""}},
       }) {
    SCOPED_TRACE(row.name);
    LineSource source("part.md", row.bytes);
    EXPECT_EQ(ReadAll(source), row.lines);
    EXPECT_EQ(source.Size(), static_cast<int64_t>(row.bytes.size()));
  }
}

TEST(LineSource, OpensFilesByPath) {
  const test::TempDir folder;
  // Size counts the bytes of the file, not the characters they decode to.
  const std::string path = folder.Write("oboe.md", "H\x84rtel\nLeipzig\n");
  const std::unique_ptr<LineSource> source = LineSource::OpenFile(path);
  EXPECT_EQ(source->Name(), "oboe.md");
  EXPECT_EQ(source->Size(), 15);
  EXPECT_EQ(ReadAll(*source), (std::vector<std::string>{"H\xC3\xA4rtel", "Leipzig"}));

  for (const std::string& missing : {folder.Path() + "/none.md", folder.Path()})
    EXPECT_EQ(test::ErrorOf([&] { LineSource::OpenFile(missing); }), "run-time 53: File not found");
}

}  // namespace
}  // namespace musedata
