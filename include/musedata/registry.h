#pragma once

// Creating converters by class name, and the entry points of the library as
// an in-process server.
//
// The library keeps one process-wide class registry (ProgID to class
// factory), guarded by a mutex; it is the library's only global mutable
// state. The MuseData component is registered under "Ondrelink.MuseData"
// when the library is loaded; DllUnregisterServer takes it out of the
// registry and DllRegisterServer puts it back. ProgIDs are compared without
// regard to case, as class names are on the platform the hosts come from.
//
// A host that loads the library by path (dlopen) needs only the four
// extern "C" entry points below: DllGetClassObject hands out the class
// factory directly, registered or not.

#include <cstdint>
#include <memory>
#include <string_view>

#include "musedata/converter.h"

namespace musedata {

// The ProgID of the MuseData converter component.
inline constexpr const char* kMuseDataProgId = "Ondrelink.MuseData";

// What the entry points return.
inline constexpr int kSuccess = 0;
// The class is not available from this library (CLASS_E_CLASSNOTAVAILABLE).
inline constexpr int kClassNotAvailable = static_cast<int>(0x80040111u);
// A required pointer argument was null (E_POINTER).
inline constexpr int kInvalidPointer = static_cast<int>(0x80004003u);

// Makes new objects of one converter class.
class ClassFactory {
 public:
  virtual ~ClassFactory() = default;
  // A new object of the class; the caller owns it and deletes it.
  virtual MusicXMLConverter* CreateInstance() = 0;
};

// A new object of the class registered under `progId`. Raises ConverterError
// 429 "ActiveX component can't create object" when no class is registered
// under that name.
std::unique_ptr<MusicXMLConverter> CreateObject(std::string_view progId);

}  // namespace musedata

extern "C" {
// Adds the MuseData component to the class registry. Returns 0.
int DllRegisterServer(void);
// Removes the MuseData component from the class registry. Returns 0.
int DllUnregisterServer(void);
// Stores in *factory the musedata::ClassFactory* of the class `progId` and
// returns 0; returns 0x80040111 (the factory is set to null) when this library
// does not serve that class, and 0x80004003 when `factory` is null.
int DllGetClassObject(const char* progId, void** factory);
// 0 when no component object made by this library is alive (the library may
// be unloaded), 1 otherwise.
int DllCanUnloadNow(void);
}
