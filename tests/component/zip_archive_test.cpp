#include "component/zip_archive.h"

#include <gtest/gtest.h>

#include "support/test_support.h"

namespace musedata::test {
namespace {

const std::vector<ZipEntry> kEntries = {
    {"mimetype", "application/vnd.recordare.musicxml"},
    {"META-INF/container.xml", "<container/>"},
    {"scores/Menuett für Bratsche.xml", std::string(100000, 'x') + "<end/>"},
    {"empty.txt", ""},
    {"binary.bin", std::string("\0\x01\xff\r\n\x1a", 6)},
};

TEST(ZipArchive, ReadsBackWhatItMadeInOrder) {
  const std::vector<ZipEntry> read = ReadZipArchive(MakeZipArchive(kEntries, true), "test.zip");
  ASSERT_EQ(read.size(), kEntries.size());
  for (size_t i = 0; i < read.size(); ++i) {
    SCOPED_TRACE(kEntries[i].name);
    EXPECT_EQ(read[i].name, kEntries[i].name);
    EXPECT_EQ(read[i].bytes, kEntries[i].bytes);
  }
}

// Readers of compressed MusicXML find the media type at a fixed place: the
// first entry is "mimetype", stored, its text right after the 30-byte local
// header and the name. The other entries are deflated.
TEST(ZipArchive, StoresTheFirstEntryAndDeflatesTheRest) {
  const std::string stored = MakeZipArchive(kEntries, true);
  ASSERT_TRUE(LooksLikeZip(stored));
  EXPECT_EQ(stored.substr(30, 8), "mimetype");
  EXPECT_EQ(stored.substr(38, kEntries[0].bytes.size()), kEntries[0].bytes);
  EXPECT_LT(stored.size(), 2000u) << "the long entry is deflated";

  const std::string deflated = MakeZipArchive(kEntries, false);
  EXPECT_EQ(deflated.find(kEntries[0].bytes), std::string::npos);
}

TEST(ZipArchive, RefusesWhatIsNotAReadableContainer) {
  const std::string good = MakeZipArchive(kEntries, true);
  std::string corrupt = good;
  // Damage the deflated data of the long entry, past its local header.
  const size_t data = corrupt.find("scores/") + 40;
  for (size_t i = data; i < data + 16; ++i) corrupt[i] = static_cast<char>(corrupt[i] ^ 0x5a);
  const std::tuple<const char*, std::string, std::string> rows[] = {
      {"text", "<score-partwise/>", "bad.mxl: not a zip container"},
      {"cut short", good.substr(0, good.size() / 2), "bad.mxl: not a zip container"},
      {"damaged data", corrupt, "bad.mxl: cannot inflate scores/Menuett für Bratsche.xml"},
  };
  for (const auto& [name, bytes, message] : rows) {
    SCOPED_TRACE(name);
    const std::string error = ErrorOf([&] { ReadZipArchive(bytes, "bad.mxl"); });
    EXPECT_EQ(error.rfind("#5 musedata: " + message, 0), 0u) << error;
  }
}

}  // namespace
}  // namespace musedata::test
