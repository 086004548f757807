#include "musedata/registry.h"

#include <gtest/gtest.h>

#include "musedata/converter_error.h"
#include "musedata/muse_data.h"
#include "support/test_support.h"
#include "xml/node.h"

namespace musedata::test {
namespace {

// Registration state is process-wide: put the component back after a test
// that takes it out.
struct RegisteredAgain {
  ~RegisteredAgain() { DllRegisterServer(); }
};

const std::string kCannotCreate = "#429 musedata: ActiveX component can't create object";

// Class names are matched without regard to case, both by name and through
// the class factory entry point; anything else is not served.
TEST(Registry, ClassesByProgId) {
  const std::pair<const char*, bool> rows[] = {{"Ondrelink.MuseData", true},
                                               {"ONDRELINK.MUSEDATA", true},
                                               {"Ondrelink.MuseData2", false},
                                               {"Ondrelink.MuseDat", false},
                                               {"", false}};
  for (const auto& [progId, served] : rows) {
    SCOPED_TRACE(progId);
    void* factory = reinterpret_cast<void*>(1);
    if (served) {
      const std::unique_ptr<MusicXMLConverter> converter = CreateObject(progId);
      EXPECT_NE(dynamic_cast<MuseData*>(converter.get()), nullptr);
      EXPECT_EQ(DllGetClassObject(progId, &factory), 0);
      EXPECT_NE(factory, nullptr);
    } else {
      EXPECT_EQ(ErrorOf([&] { CreateObject(progId); }), kCannotCreate);
      EXPECT_EQ(DllGetClassObject(progId, &factory), static_cast<int>(0x80040111u));
      EXPECT_EQ(factory, nullptr);
    }
  }
  void* factory = nullptr;
  EXPECT_EQ(DllGetClassObject(nullptr, &factory), static_cast<int>(0x80040111u));
  EXPECT_EQ(DllGetClassObject(kMuseDataProgId, nullptr), static_cast<int>(0x80004003u));
}

TEST(Registry, UnregisteredClassCannotBeCreatedByNameButItsFactoryServes) {
  const RegisteredAgain restore;
  ASSERT_EQ(DllUnregisterServer(), 0);
  EXPECT_EQ(ErrorOf([] { CreateObject(kMuseDataProgId); }), kCannotCreate);
  void* factory = nullptr;
  EXPECT_EQ(DllGetClassObject(kMuseDataProgId, &factory), 0);
  EXPECT_NE(factory, nullptr);

  ASSERT_EQ(DllRegisterServer(), 0);
  ASSERT_EQ(DllRegisterServer(), 0);  // registering twice is harmless
  EXPECT_NE(CreateObject(kMuseDataProgId), nullptr);
  ASSERT_EQ(DllUnregisterServer(), 0);
  // Registering twice made one entry, so one unregistration removes it.
  EXPECT_EQ(ErrorOf([] { CreateObject(kMuseDataProgId); }), kCannotCreate);
}

// The path of a host that loads the library by path: register, get the class
// factory, create components, load a part; the library may unload only when
// no component is left.
TEST(Registry, HostDrivesComponentThroughEntryPoints) {
  TempDir dir;
  const std::string part = dir.Write("a.md", Part({"$ K:0 Q:4 T:4/4 C:4"}));
  ASSERT_EQ(DllCanUnloadNow(), 0);
  ASSERT_EQ(DllRegisterServer(), 0);
  void* object = nullptr;
  ASSERT_EQ(DllGetClassObject("Ondrelink.MuseData", &object), 0);
  auto* factory = static_cast<ClassFactory*>(object);
  {
    const std::unique_ptr<MusicXMLConverter> converter(factory->CreateInstance());
    const std::unique_ptr<MusicXMLConverter> another(factory->CreateInstance());
    EXPECT_EQ(DllCanUnloadNow(), 1);
    ASSERT_TRUE(converter->Load(part));
    EXPECT_EQ(xml::Root(converter->XML()).CountChildren("part"), 1);
    EXPECT_EQ(xml::Root(another->XML()).CountChildren("part"), 0);  // each has its own score
  }
  EXPECT_EQ(DllCanUnloadNow(), 0);
  const std::unique_ptr<MusicXMLConverter> byName = CreateObject(kMuseDataProgId);
  EXPECT_EQ(DllCanUnloadNow(), 1);
}

}  // namespace
}  // namespace musedata::test
