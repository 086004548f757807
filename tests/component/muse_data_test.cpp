#include "musedata/muse_data.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "component/utilities.h"
#include "musedata/converter_error.h"
#include "support/test_support.h"
#include "xml/node.h"

namespace musedata::test {
namespace {

// Two MuseData part files in a fresh folder.
struct TwoParts {
  TempDir dir;
  std::string first = dir.Write("violin1.md", Part({"$ K:0 Q:4 T:4/4 C:4", "C4     4        q"}));
  std::string second = dir.Write("violin2.md", Part({"$ K:0 Q:4 T:4/4 C:4", "E4     4        q"}));
};

TEST(MuseData, OwnXmlMembersAreRefused) {
  const std::pair<std::function<void(MuseData&)>, const char*> rows[] = {
      {[](MuseData& c) { c.SetOwnXML(InitializeXML(true, "")); },
       "6074 Verdantix: Setting OwnXML property in MusicXML MuseData converter is not supported"},
      {[](MuseData& c) { c.SetUseOwnXml(true); },
       "6075 Verdantix: Setting UseOwnXML property in MusicXML MuseData converter is not "
       "supported"},
      {[](MuseData& c) { c.FromOwnXML(); },
       "6076 Verdantix: FromOwnXML not supported in MusicXML MuseData converter"},
      {[](MuseData& c) { c.ToOwnXML(); },
       "6077 Verdantix: ToOwnXML not supported in MusicXML MuseData converter"},
  };
  for (const auto& [action, expected] : rows) {
    MuseData component;
    EXPECT_EQ(ErrorOf([&] { action(component); }), expected);
    EXPECT_FALSE(component.UseOwnXml());
    EXPECT_FALSE(component.OwnXML());
  }
}

TEST(MuseData, GroupTypeIsStoredTrimmedAndLowerCased) {
  // Only blanks trim.
  const std::pair<const char*, const char*> rows[] = {
      {" Parts ", "parts"}, {"SCORE", "score"}, {"", ""}, {"  ", ""}, {"\tSound", "\tsound"}};
  for (const auto& [set, read] : rows) {
    MuseData component;
    component.SetGroupType(set);
    EXPECT_EQ(component.GroupType(), read) << set;
  }
}

TEST(MuseData, CancellationFromTheLoadingHandler) {
  using Handler = MuseData::ProgressEvent;
  const auto cancellation = [](const char* source) -> Handler {
    return [source](int32_t, int32_t, bool&) {
      throw ConverterError(kErrorBase + 6007, source, "Conversion cancelled by the user");
    };
  };
  const Handler cancelFlag = [](int32_t, int32_t, bool& cancel) { cancel = true; };
  struct Row {
    const char* name;
    Handler handler;
    bool cancelError;
    const char* error;  // "no error": the load returns false
  };
  const Row rows[] = {
      {"cancel flag", cancelFlag, false, "no error"},
      {"cancel flag with CancelError", cancelFlag, true, "no error"},
      {"cancellation error, CancelError false", cancellation("Verdantix"), false, "no error"},
      {"cancellation error, CancelError true", cancellation("Verdantix"), true,
       "6007 Verdantix: Conversion cancelled by the user"},
      // The same number from another source is an ordinary host error: the
      // engine's load reports it as its own failure.
      {"another source's 6007", cancellation("Host"), false,
       "6008 Verdantix: MuseData Load error -2147215497: Conversion cancelled by the user"},
      {"host error",
       [](int32_t, int32_t, bool&) { throw ConverterError(1234, "Host", "disk full"); }, false,
       "6008 Verdantix: MuseData Load error 1234: disk full"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const TwoParts files;
    MuseData component;
    if (row.cancelError) component.SetCancelError(true);  // off unless set
    int events = 0;
    component.Loading = [&](int32_t current, int32_t size, bool& cancel) {
      ++events;
      row.handler(current, size, cancel);
    };
    EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(component.Load(files.first)); }), row.error);
    EXPECT_EQ(events, 1);  // the first event stops the load
  }
}

// Each load adds its part to the one score. A save hands the component's
// score to the engine; a further load then adds its part to that score, not
// to the one the engine built before.
TEST(MuseData, LoadsAddPartsToTheScoreLastBuiltOrSaved) {
  const TwoParts files;
  MuseData other;
  ASSERT_TRUE(other.Load(files.first));
  const Document handedOver = other.XML();

  MuseData component;
  EXPECT_FALSE(component.XML());
  int32_t lastSize = 0;
  component.Loading = [&](int32_t, int32_t size, bool&) { lastSize = size; };
  ASSERT_TRUE(component.Load(files.first));
  const Document afterFirst = component.XML();
  EXPECT_EQ(lastSize, static_cast<int32_t>(std::filesystem::file_size(files.first)));
  ASSERT_TRUE(component.Load(files.second));
  EXPECT_EQ(component.XML(), afterFirst);  // the same document, extended
  EXPECT_EQ(xml::Root(afterFirst).CountChildren("part"), 2);
  EXPECT_EQ(component.FileName(), "violin2.md");

  component.SetXML(handedOver);  // the score of two parts now lives only in the engine
  EXPECT_TRUE(component.Save(files.dir.Path() + "/out.md"));
  ASSERT_TRUE(component.Load(files.second));
  EXPECT_EQ(component.XML(), handedOver);
  EXPECT_EQ(xml::Root(handedOver).CountChildren("part"), 2);
}

}  // namespace
}  // namespace musedata::test
