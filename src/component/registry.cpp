// The process-wide class registry, CreateObject, and the library's entry
// points as an in-process server.

#include "musedata/registry.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "component/live_objects.h"
#include "musedata/converter_error.h"
#include "musedata/muse_data.h"

namespace musedata {
namespace {

// E_UNEXPECTED: an entry point failed in a way it has no code for.
constexpr int kUnexpected = static_cast<int>(0x8000FFFFu);

class MuseDataFactory final : public ClassFactory {
 public:
  MusicXMLConverter* CreateInstance() override { return std::make_unique<MuseData>().release(); }
};

MuseDataFactory g_museDataFactory;
std::atomic<int32_t> g_liveObjects{0};

bool SameProgId(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) ==
           std::tolower(static_cast<unsigned char>(y));
  });
}

// ProgID to factory. The library's only global mutable state; every access
// holds the mutex.
class ClassRegistry {
 public:
  // The registry as the library starts: the MuseData component is installed.
  static ClassRegistry& Instance() {
    static ClassRegistry registry;
    return registry;
  }

  void Register(std::string progId, ClassFactory* factory) {
    const std::lock_guard lock(m_mutex);
    const auto entry = Find(progId);
    if (entry != m_classes.end()) {
      entry->second = factory;
    } else {
      m_classes.emplace_back(std::move(progId), factory);
    }
  }

  void Unregister(std::string_view progId) {
    const std::lock_guard lock(m_mutex);
    const auto entry = Find(progId);
    if (entry != m_classes.end()) m_classes.erase(entry);
  }

  // The factory registered under `progId`, or null.
  ClassFactory* Lookup(std::string_view progId) {
    const std::lock_guard lock(m_mutex);
    const auto entry = Find(progId);
    return entry != m_classes.end() ? entry->second : nullptr;
  }

 private:
  ClassRegistry() { m_classes.emplace_back(kMuseDataProgId, &g_museDataFactory); }

  std::vector<std::pair<std::string, ClassFactory*>>::iterator Find(std::string_view progId) {
    return std::find_if(m_classes.begin(), m_classes.end(),
                        [&](const auto& entry) { return SameProgId(entry.first, progId); });
  }

  std::mutex m_mutex;
  std::vector<std::pair<std::string, ClassFactory*>> m_classes;
};

// Keeps C++ exceptions from crossing the C entry points.
template <class Body>
int AtEntryPoint(Body&& body) noexcept {
  try {
    return body();
  } catch (...) {
    return kUnexpected;
  }
}

}  // namespace

void CountObjectCreated() noexcept {
  g_liveObjects.fetch_add(1, std::memory_order_relaxed);
}

void CountObjectDestroyed() noexcept {
  g_liveObjects.fetch_sub(1, std::memory_order_relaxed);
}

int32_t LiveObjectCount() noexcept {
  return g_liveObjects.load(std::memory_order_relaxed);
}

std::unique_ptr<MusicXMLConverter> CreateObject(std::string_view progId) {
  ClassFactory* factory = ClassRegistry::Instance().Lookup(progId);
  if (!factory) throw ConverterError(429, "musedata", "ActiveX component can't create object");
  return std::unique_ptr<MusicXMLConverter>(factory->CreateInstance());
}

}  // namespace musedata

extern "C" {

int DllRegisterServer(void) {
  return musedata::AtEntryPoint([] {
    musedata::ClassRegistry::Instance().Register(musedata::kMuseDataProgId,
                                                 &musedata::g_museDataFactory);
    return musedata::kSuccess;
  });
}

int DllUnregisterServer(void) {
  return musedata::AtEntryPoint([] {
    musedata::ClassRegistry::Instance().Unregister(musedata::kMuseDataProgId);
    return musedata::kSuccess;
  });
}

int DllGetClassObject(const char* progId, void** factory) {
  if (!factory) return musedata::kInvalidPointer;
  *factory = nullptr;
  if (!progId || !musedata::SameProgId(progId, musedata::kMuseDataProgId))
    return musedata::kClassNotAvailable;
  *factory = static_cast<musedata::ClassFactory*>(&musedata::g_museDataFactory);
  return musedata::kSuccess;
}

int DllCanUnloadNow(void) {
  return musedata::LiveObjectCount() == 0 ? 0 : 1;
}

}  // extern "C"
