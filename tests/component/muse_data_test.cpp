#include "musedata/muse_data.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "component/utilities.h"
#include "musedata/converter_error.h"
#include "support/test_support.h"
#include "xml/node.h"
#include "xml/xpath.h"

namespace musedata::test {
namespace {

constexpr int32_t kCancelled = kErrorBase + 6007;

// Two MuseData part files in a fresh folder.
struct TwoParts {
  TempDir dir;
  std::string first = dir.Write("violin1.md", Part({"$ K:0 Q:4 T:4/4 C:4", "C4     4        q"}));
  std::string second = dir.Write("violin2.md", Part({"$ K:0 Q:4 T:4/4 C:4", "E4     4        q"}));
};

// Runs `action` and returns the ConverterError it raised; fails the test when
// it raised none.
ConverterError Raised(const std::function<void()>& action) {
  try {
    action();
  } catch (const ConverterError& error) {
    return error;
  }
  ADD_FAILURE() << "no error was raised";
  return ConverterError(0, "", "");
}

TEST(MuseData, NewComponentDefaults) {
  MuseData component;
  EXPECT_TRUE(component.CanLoad());
  EXPECT_TRUE(component.CanSave());
  EXPECT_FALSE(component.HasOwnXML());
  EXPECT_FALSE(component.UseOwnXml());
  EXPECT_FALSE(component.OwnXML());
  EXPECT_FALSE(component.XML());
  EXPECT_FALSE(component.CancelError());
  EXPECT_EQ(component.PartNumber(), 1);
}

TEST(MuseData, OwnXmlMembersAreRefused) {
  struct Row {
    const char* name;
    std::function<void(MuseData&)> action;
    uint32_t number;
    const char* description;
  };
  const Row rows[] = {
      {"set OwnXML", [](MuseData& c) { c.SetOwnXML(InitializeXML(true, "")); }, 0x800417BA,
       "Setting OwnXML property in MusicXML MuseData converter is not supported"},
      {"let UseOwnXml", [](MuseData& c) { c.SetUseOwnXml(true); }, 0x800417BB,
       "Setting UseOwnXML property in MusicXML MuseData converter is not supported"},
      {"FromOwnXML", [](MuseData& c) { c.FromOwnXML(); }, 0x800417BC,
       "FromOwnXML not supported in MusicXML MuseData converter"},
      {"ToOwnXML", [](MuseData& c) { c.ToOwnXML(); }, 0x800417BD,
       "ToOwnXML not supported in MusicXML MuseData converter"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    MuseData component;
    const ConverterError error = Raised([&] { row.action(component); });
    EXPECT_EQ(static_cast<uint32_t>(error.Number()), row.number);
    EXPECT_EQ(error.Source(), "Verdantix");
    EXPECT_EQ(error.Description(), row.description);
    EXPECT_FALSE(component.UseOwnXml());
    EXPECT_FALSE(component.OwnXML());
  }
}

TEST(MuseData, TwoLoadsBuildOneScoreWithTwoParts) {
  const TwoParts files;
  MuseData component;
  int32_t lastCurrent = 0;
  int32_t lastSize = 0;
  component.Loading = [&](int32_t current, int32_t size, bool&) {
    lastCurrent = current;
    lastSize = size;
  };
  ASSERT_TRUE(component.Load(files.first));
  const Document afterFirst = component.XML();
  ASSERT_TRUE(afterFirst);
  EXPECT_EQ(lastSize, static_cast<int32_t>(std::filesystem::file_size(files.first)));
  EXPECT_GT(lastCurrent, 0);

  ASSERT_TRUE(component.Load(files.second));
  EXPECT_EQ(component.XML(), afterFirst);  // the same document, extended
  const xml::XPath parts("/score-partwise/part");
  EXPECT_EQ(parts.Select(xml::Root(component.XML())).size(), 2u);
  EXPECT_EQ(component.FileName(), "violin2.md");
}

TEST(MuseData, GroupTypeIsStoredTrimmedAndLowerCased) {
  const struct {
    const char* set;
    const char* read;
  } rows[] = {
      {" Parts ", "parts"},
      {"SCORE", "score"},
      {"", ""},
      {"\tSound", "\tsound"},  // only blanks trim
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.set);
    MuseData component;
    component.SetGroupType(row.set);
    EXPECT_EQ(component.GroupType(), row.read);
  }
}

TEST(MuseData, CancellationFromTheLoadingHandler) {
  const auto cancellation = [](const char* source) {
    return [source](int32_t, int32_t, bool&) {
      throw ConverterError(kCancelled, source, "Conversion cancelled by the user");
    };
  };
  struct Row {
    const char* name;
    MuseData::ProgressEvent handler;
    bool cancelError;
    bool raises;
    int32_t number;
    const char* description;
  };
  const Row rows[] = {
      {"cancel flag", [](int32_t, int32_t, bool& cancel) { cancel = true; }, false, false, 0, ""},
      {"cancel flag with CancelError", [](int32_t, int32_t, bool& cancel) { cancel = true; }, true,
       false, 0, ""},
      {"cancellation error, CancelError false", cancellation("Verdantix"), false, false, 0, ""},
      {"cancellation error, CancelError true", cancellation("Verdantix"), true, true, kCancelled,
       "Conversion cancelled by the user"},
      // The same number from another source is an ordinary host error: the
      // engine's load reports it as its own failure.
      {"another source's 6007", cancellation("Host"), false, true, kErrorBase + 6008,
       "MuseData Load error -2147215497: Conversion cancelled by the user"},
      {"host error",
       [](int32_t, int32_t, bool&) { throw ConverterError(1234, "Host", "disk full"); }, false,
       true, kErrorBase + 6008, "MuseData Load error 1234: disk full"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const TwoParts files;
    MuseData component;
    component.SetCancelError(row.cancelError);
    int events = 0;
    component.Loading = [&](int32_t current, int32_t size, bool& cancel) {
      ++events;
      row.handler(current, size, cancel);
    };
    if (row.raises) {
      const ConverterError error = Raised([&] { component.Load(files.first); });
      EXPECT_EQ(error.Number(), row.number);
      EXPECT_EQ(error.Source(), "Verdantix");
      EXPECT_EQ(error.Description(), row.description);
    } else {
      EXPECT_FALSE(component.Load(files.first));
    }
    EXPECT_EQ(events, 1);  // the first event stops the load
  }
}

TEST(MuseData, SaveWritesNothingUnlessTheWholePartIsWritten) {
  const TwoParts files;
  const std::string target = files.dir.Write("out.md", "a good file\n");
  struct Row {
    const char* name;
    std::function<Document()> score;
    bool raises;
  };
  const Row rows[] = {
      {"no score", [] { return Document(); }, false},
      {"timewise score", [] { return InitializeXML(false, ""); }, false},
      {"loaded score",
       [&] {
         MuseData loader;
         EXPECT_TRUE(loader.Load(files.first));
         return loader.XML();
       },
       true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    for (const std::string& path : {target, files.dir.Path() + "/new.md"}) {
      MuseData component;
      component.SetXML(row.score());
      if (row.raises) {
        const ConverterError error = Raised([&] { component.Save(path); });
        EXPECT_EQ(static_cast<uint32_t>(error.Number()), 0x800417A7u);  // the header writer
        EXPECT_EQ(error.Source(), "Verdantix");
        EXPECT_EQ(error.Description(),
                  "MuseData SaveHeader error 5: MuseData export is not available yet");
      } else {
        EXPECT_FALSE(component.Save(path));
      }
      // Neither the target nor a temporary file beside it is left behind,
      // even while the component lives on.
      int entries = 0;
      for ([[maybe_unused]] const auto& entry :
           std::filesystem::directory_iterator(files.dir.Path()))
        ++entries;
      EXPECT_EQ(entries, 3);
    }
    EXPECT_EQ(ReadFile(target), "a good file\n");
  }
}

// A save hands the component's score to the engine; a further load then adds
// its part to that score, not to the one the engine built before.
TEST(MuseData, LoadAfterSavingAnotherScoreAddsToThatScore) {
  const TwoParts files;
  MuseData other;
  ASSERT_TRUE(other.Load(files.first));
  const Document handedOver = other.XML();

  MuseData component;
  ASSERT_TRUE(component.Load(files.first));
  ASSERT_TRUE(component.Load(files.second));
  component.SetXML(handedOver);  // the score of two parts now lives only in the engine
  EXPECT_THROW(component.Save(files.dir.Path() + "/out.md"), ConverterError);

  ASSERT_TRUE(component.Load(files.second));
  EXPECT_EQ(component.XML(), handedOver);
  EXPECT_EQ(xml::Root(handedOver).CountChildren("part"), 2);
}

}  // namespace
}  // namespace musedata::test
