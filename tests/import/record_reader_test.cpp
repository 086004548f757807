#include <gtest/gtest.h>

#include "support/test_support.h"

namespace musedata::test {

TEST(RecordReader, FirstDataRecordOpensPartAndMeasureX1) {
  const Imported imported = ImportText(Part({"$ K:0 Q:4 T:4/4 C:4", "@ kept"}));
  ASSERT_TRUE(imported.result);
  EXPECT_EQ(XmlAt(imported.document, "/score-partwise/part/measure/@number"), " number=\"X1\"");
}

}  // namespace musedata::test
