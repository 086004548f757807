#include "component/zip_archive.h"

#include <gtest/gtest.h>
#include <zlib.h>

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
  // Entries that are not wanted are listed, not inflated.
  const std::vector<ZipEntry> one = ReadZipArchive(
      MakeZipArchive(kEntries, true), "test.zip",
      [](std::string_view name) { return name == "empty.txt" || name == "binary.bin"; });
  ASSERT_EQ(one.size(), kEntries.size());
  EXPECT_EQ(one[2].bytes, "");
  EXPECT_EQ(one[4].bytes, kEntries[4].bytes);
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

// A zip container written byte by byte, in the shapes other writers (and
// attackers) make: what its headers claim is set apart from what it holds.
struct RawEntry {
  std::string name;
  std::string data;  // as stored (deflated when `deflated`)
  bool deflated = false;
  uint32_t crc = 0;
  uint64_t size = 0;       // what the headers claim the entry inflates to
  std::string localExtra;  // an extra field in the local header only
  bool dataDescriptor = false;
};

void Put16(std::string& out, uint32_t value) {
  out += static_cast<char>(value & 0xff);
  out += static_cast<char>((value >> 8) & 0xff);
}
void Put32(std::string& out, uint32_t value) {
  Put16(out, value & 0xffff);
  Put16(out, value >> 16);
}

std::string RawZip(const std::vector<RawEntry>& entries, const std::string& before = "",
                   const std::string& after = "") {
  std::string out = before;
  std::string central;
  for (const RawEntry& entry : entries) {
    const uint32_t offset = static_cast<uint32_t>(out.size() - before.size());
    const uint32_t flags = entry.dataDescriptor ? 8 : 0;
    const uint32_t method = entry.deflated ? 8 : 0;
    Put32(out, 0x04034b50);
    Put16(out, 20);
    Put16(out, flags);
    Put16(out, method);
    Put32(out, 0);  // time and date
    Put32(out, entry.dataDescriptor ? 0 : entry.crc);
    Put32(out, entry.dataDescriptor ? 0 : static_cast<uint32_t>(entry.data.size()));
    Put32(out, entry.dataDescriptor ? 0 : static_cast<uint32_t>(entry.size));
    Put16(out, static_cast<uint32_t>(entry.name.size()));
    Put16(out, static_cast<uint32_t>(entry.localExtra.size()));
    out += entry.name + entry.localExtra + entry.data;
    if (entry.dataDescriptor) {
      Put32(out, 0x08074b50);
      Put32(out, entry.crc);
      Put32(out, static_cast<uint32_t>(entry.data.size()));
      Put32(out, static_cast<uint32_t>(entry.size));
    }
    Put32(central, 0x02014b50);
    Put16(central, 20);
    Put16(central, 20);
    Put16(central, flags);
    Put16(central, method);
    Put32(central, 0);
    Put32(central, entry.crc);
    Put32(central, static_cast<uint32_t>(entry.data.size()));
    Put32(central, static_cast<uint32_t>(entry.size));
    Put16(central, static_cast<uint32_t>(entry.name.size()));
    Put32(central, 0);  // extra and comment lengths
    Put32(central, 0);  // disk, internal attributes
    Put32(central, 0);  // external attributes
    Put32(central, offset);
    central += entry.name;
  }
  const uint32_t directory = static_cast<uint32_t>(out.size() - before.size());
  out += central;
  Put32(out, 0x06054b50);
  Put32(out, 0);
  Put16(out, static_cast<uint32_t>(entries.size()));
  Put16(out, static_cast<uint32_t>(entries.size()));
  Put32(out, static_cast<uint32_t>(central.size()));
  Put32(out, directory);
  Put16(out, 0);
  return out + after;
}

RawEntry Stored(const std::string& name, const std::string& text) {
  RawEntry entry;
  entry.name = name;
  entry.data = text;
  entry.crc = static_cast<uint32_t>(
      crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())));
  entry.size = text.size();
  return entry;
}

// `size` bytes of `fill` deflated, without ever holding them.
RawEntry Deflated(const std::string& name, uint64_t size, char fill = '\0') {
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
  const std::string chunk(1 << 20, fill);
  std::string out;
  char buffer[1 << 16];
  uLong crc = crc32(0, nullptr, 0);
  for (uint64_t left = size; left > 0 || stream.avail_in > 0;) {
    const size_t take = static_cast<size_t>(std::min<uint64_t>(left, chunk.size()));
    crc = crc32(crc, reinterpret_cast<const Bytef*>(chunk.data()), static_cast<uInt>(take));
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(chunk.data()));
    stream.avail_in = static_cast<uInt>(take);
    left -= take;
    const int flush = left == 0 ? Z_FINISH : Z_NO_FLUSH;
    do {
      stream.next_out = reinterpret_cast<Bytef*>(buffer);
      stream.avail_out = sizeof buffer;
      deflate(&stream, flush);
      out.append(buffer, sizeof buffer - stream.avail_out);
    } while (stream.avail_out == 0);
    if (flush == Z_FINISH) break;
  }
  deflateEnd(&stream);
  RawEntry entry;
  entry.name = name;
  entry.data = std::move(out);
  entry.deflated = true;
  entry.crc = static_cast<uint32_t>(crc);
  entry.size = size;
  return entry;
}

// The shapes real writers produce read as unzip and Python's zipfile read
// them; each holds the entry "score.xml" with "<score/>".
TEST(ZipArchive, ReadsWhatOtherReadersRead) {
  RawEntry withExtra = Stored("score.xml", "<score/>");
  withExtra.localExtra = std::string("UT\x05\x00\x01\x00\x00\x00\x00", 9);  // a timestamp
  RawEntry described = Stored("score.xml", "<score/>");
  described.dataDescriptor = true;
  const std::pair<const char*, std::string> rows[] = {
      {"an extra field in the local header only", RawZip({withExtra})},
      {"sizes in a data descriptor", RawZip({described})},
      {"bytes after the end record", RawZip({Stored("score.xml", "<score/>")}, "", "\r\n\r\n")},
  };
  for (const auto& [shape, bytes] : rows) {
    SCOPED_TRACE(shape);
    std::vector<ZipEntry> read;
    EXPECT_EQ(ErrorOf([&] { read = ReadZipArchive(bytes, "other.mxl"); }), "no error");
    ASSERT_EQ(read.size(), 1u);
    EXPECT_EQ(read[0].name, "score.xml");
    EXPECT_EQ(read[0].bytes, "<score/>");
  }
}

// Containers that would take the machine are refused before they do, by
// what their entries inflate to, whatever the headers claim.
TEST(ZipArchive, RefusesContainersPastTheLimits) {
  ZipLimits small;
  small.entryBytes = 1 << 20;
  small.totalBytes = 1 << 20;
  small.ratioFrom = 1 << 20;
  RawEntry lying = Deflated("score.xml", uint64_t{64} << 20);
  lying.size = 1000;  // the headers claim a thousand bytes
  std::vector<ZipEntry> many(10001, ZipEntry{"", "x"});
  for (size_t i = 0; i < many.size(); ++i) many[i].name = "part" + std::to_string(i);
  const std::tuple<const char*, std::string, ZipLimits, std::string> rows[] = {
      {"zeros that inflate a thousand times", RawZip({Deflated("score.xml", uint64_t{64} << 20)}),
       ZipLimits{}, "score.xml inflates to more than 200 times its compressed size"},
      {"a header that claims a small size", RawZip({lying}), ZipLimits{},
       "score.xml inflates to more than 200 times its compressed size"},
      {"an entry past the size limit", RawZip({Deflated("score.xml", 2 << 20, 'x')}), small,
       "score.xml inflates to more than 1 MB, larger than any score"},
      {"entries past the total",
       RawZip({Stored("a.md", std::string(1 << 19, 'a')), Stored("b.md", std::string(1 << 19, 'b')),
               Stored("c.md", std::string(1 << 19, 'c'))}),
       small, "the container's files inflate to more than 1 MB together"},
      {"too many entries", MakeZipArchive(many, false), ZipLimits{},
       "the container holds 10001 entries, more than 10000"},
  };
  for (const auto& [shape, bytes, limits, message] : rows) {
    SCOPED_TRACE(shape);
    const std::string error = ErrorOf([&] { ReadZipArchive(bytes, "bomb.mxl", {}, limits); });
    EXPECT_EQ(error.rfind("#5 musedata: bomb.mxl: " + message, 0), 0u) << error;
  }
}

}  // namespace
}  // namespace musedata::test
