#include "xml/arena.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <string>

#include "xml/node.h"

namespace musedata::xml {
namespace {

// A score-like document: parsed, grown with elements, attributes, short texts
// (kept in the dictionary), long texts (allocated), a text that is changed
// (freed and allocated again), one larger than the arena's blocks, and
// removed nodes; then written out, copied and parsed back.
std::string BuildAndWrite(int notes) {
  const Document doc =
      ParseMemory("<score-partwise><part id=\"P1\"/></score-partwise>", "arena.xml", 6004);
  Node part = Root(doc).Child("part");
  const std::string longText(200, 'x');
  const std::string hugeText(100 << 10, 'y');
  for (int index = 0; index < notes; ++index) {
    Node measure = part.AppendElement("measure");
    measure.SetAttr("number", std::to_string(index + 1));
    Node note = measure.AppendElement("note");
    note.AppendElement("duration", std::to_string(index % 7 + 1));
    note.AppendElement("lyric").AppendElement("text", longText + std::to_string(index));
    Node gone = note.AppendElement("stem", "up");
    gone.Remove();
    note.SetAttr("default-x", "12");
    note.SetAttr("default-x", std::to_string(index));
    if (index % 100 == 0) measure.AppendComment(hugeText);
  }
  const std::string written = ToIndentedString(doc);
  const Document copy = CopyDocument(doc);
  const Document reread = ParseMemory(written, "written.xml", 6004);
  EXPECT_EQ(ToIndentedString(copy), written);
  EXPECT_EQ(ToIndentedString(reread), written);
  return written;
}

// Documents built in the arena are the same, byte for byte, as with malloc;
// a second scope on the thread reuses the first one's memory instead of
// taking more.
TEST(XmlArena, DocumentsMatchMallocAndScopesReuseMemory) {
  if (!InstallArena()) GTEST_SKIP() << "the arena is not used in this build or environment";
  const std::string withMalloc = BuildAndWrite(3000);
  std::string inFirstScope;
  size_t heldAfterFirst = 0;
  {
    const ArenaScope scope;
    const size_t heldBefore = ArenaBytesHeld();
    inFirstScope = BuildAndWrite(3000);
    heldAfterFirst = ArenaBytesHeld();
    EXPECT_GT(heldAfterFirst, heldBefore);
  }
  EXPECT_EQ(inFirstScope, withMalloc);
  {
    const ArenaScope scope;
    EXPECT_EQ(BuildAndWrite(3000), withMalloc);
  }
  EXPECT_EQ(ArenaBytesHeld(), heldAfterFirst);
  {
    // Closing an inner scope releases nothing: the outer scope's document
    // stays whole while more is built after it.
    const ArenaScope scope;
    const Document kept = ParseMemory(withMalloc, "kept.xml", 6004);
    {
      const ArenaScope nested;
      EXPECT_EQ(BuildAndWrite(3000), withMalloc);
    }
    BuildAndWrite(3000);
    EXPECT_EQ(ToIndentedString(kept), withMalloc);
    EXPECT_GT(ArenaBytesHeld(), heldAfterFirst);
  }
  // Outside any scope, documents come from malloc again.
  const size_t held = ArenaBytesHeld();
  EXPECT_EQ(BuildAndWrite(50), BuildAndWrite(50));
  EXPECT_EQ(ArenaBytesHeld(), held);
}

// Documents dropped in a scope are not freed node by node; the blocks of
// theirs that came from malloc (each long comment, the dictionary's pools)
// go back to malloc when the scope closes.
TEST(XmlArena, ClosingAScopeFreesItsBlocksFromMalloc) {
  if (!InstallArena()) GTEST_SKIP() << "the arena is not used in this build or environment";
  const auto inUse = [] {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
  };
  BuildAndWrite(10);  // anything made once per thread is made now
  const size_t before = inUse();
  {
    const ArenaScope scope;
    BuildAndWrite(3000);  // thirty comments of 100 KB
    EXPECT_GT(inUse(), before + (3 << 20));
  }
  EXPECT_LT(inUse(), before + (256 << 10));
}

}  // namespace
}  // namespace musedata::xml
