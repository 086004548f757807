// A host that loads the musedata library by path, registers it, creates the
// MuseData component through its class factory, and loads MuseData part
// files into one MusicXML score, printing progress from the component's
// events.
//
//   host LIBRARY FILE... [--cancel-after N] [--cancel-error] [--save PATH] [--part N]
//
// --cancel-after N  cancel in the Nth progress event
// --cancel-error    cancel by raising the cancellation error, with CancelError
//                   set so that it comes back to the host as an error
// --save PATH       afterwards save a part of the score as MuseData to PATH
// --part N          the part that --save writes (default 1)
//
// Exit status: 0 done, 1 a conversion stopped early, 2 an error was raised,
// 64 wrong usage or a library that cannot be used.

#include <dlfcn.h>
#include <libxml/tree.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "musedata/converter.h"
#include "musedata/converter_error.h"
#include "musedata/muse_data.h"
#include "musedata/registry.h"

namespace {

constexpr int kExitDone = 0;
constexpr int kExitStopped = 1;
constexpr int kExitError = 2;
constexpr int kExitUsage = 64;

// The cancellation error a host raises from a progress handler.
constexpr int32_t kCancelled = static_cast<int32_t>(0x80040000u + 6007);

struct Options {
  std::string library;
  std::vector<std::string> files;
  long cancelAfter = 0;  // 0: never cancel
  bool cancelError = false;
  std::string savePath;
  long savePart = 1;
};

bool ParseArguments(int argc, char** argv, Options& options) {
  std::vector<std::string> positional;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--cancel-after" && i + 1 < argc) {
      options.cancelAfter = std::strtol(argv[++i], nullptr, 10);
      if (options.cancelAfter < 1) return false;
    } else if (argument == "--cancel-error") {
      options.cancelError = true;
    } else if (argument == "--save" && i + 1 < argc) {
      options.savePath = argv[++i];
    } else if (argument == "--part" && i + 1 < argc) {
      options.savePart = std::strtol(argv[++i], nullptr, 10);
      if (options.savePart < 1) return false;
    } else if (argument.rfind("--", 0) == 0) {
      return false;
    } else {
      positional.push_back(argument);
    }
  }
  if (positional.size() < 2) return false;
  options.library = positional.front();
  options.files.assign(positional.begin() + 1, positional.end());
  return true;
}

// The library's entry points, found by name as a host of in-process servers
// finds them.
struct EntryPoints {
  int (*registerServer)();
  int (*unregisterServer)();
  int (*getClassObject)(const char*, void**);
  int (*canUnloadNow)();
};

bool FindEntryPoints(void* library, EntryPoints& entry) {
  entry.registerServer = reinterpret_cast<int (*)()>(dlsym(library, "DllRegisterServer"));
  entry.unregisterServer = reinterpret_cast<int (*)()>(dlsym(library, "DllUnregisterServer"));
  entry.getClassObject =
      reinterpret_cast<int (*)(const char*, void**)>(dlsym(library, "DllGetClassObject"));
  entry.canUnloadNow = reinterpret_cast<int (*)()>(dlsym(library, "DllCanUnloadNow"));
  return entry.registerServer && entry.unregisterServer && entry.getClassObject &&
         entry.canUnloadNow;
}

// The number of part elements in the score.
int CountParts(const musedata::Document& score) {
  int parts = 0;
  const auto root = xmlDocGetRootElement(score.get());
  for (auto child = root ? xmlFirstElementChild(root) : nullptr; child;
       child = xmlNextElementSibling(child))
    if (xmlStrEqual(child->name, reinterpret_cast<const xmlChar*>("part"))) ++parts;
  return parts;
}

std::string RootName(const musedata::Document& score) {
  const auto root = xmlDocGetRootElement(score.get());
  return root ? reinterpret_cast<const char*>(root->name) : "(none)";
}

void ReportError(const musedata::ConverterError& error) {
  std::printf("error 0x%08X (%s): %s\n", static_cast<uint32_t>(error.Number()),
              error.Source().c_str(), error.Description().c_str());
}

// Loads every file into one score (and saves a part when asked); returns the
// exit status.
int Convert(musedata::MusicXMLConverter& converter, const Options& options) {
  // The object came from the MuseData class factory. A static_cast reaches its
  // events without the type information of a library this program does not link.
  auto& component = static_cast<musedata::MuseData&>(converter);
  converter.SetCancelError(options.cancelError);

  long events = 0;
  int reported = -1;
  component.Loading = [&](int32_t current, int32_t size, bool& cancel) {
    ++events;
    // Progress counts two characters of line end per record, so on a file
    // with one-character line ends it can pass the size a little.
    const int percent =
        size > 0 ? static_cast<int>(std::min<int64_t>(int64_t{current} * 100 / size, 100)) : 100;
    if (percent / 25 != reported / 25) {
      reported = percent;
      std::printf("  %3d%% (%d of %d bytes)\n", percent, current, size);
    }
    if (events != options.cancelAfter) return;
    std::printf("  cancelling in event %ld\n", events);
    if (options.cancelError)
      throw musedata::ConverterError(kCancelled, "Verdantix", "Conversion cancelled by the host");
    cancel = true;
  };
  component.Warning = [](const std::string& text) { std::printf("warning: %s\n", text.c_str()); };

  try {
    for (const std::string& file : options.files) {
      std::printf("loading %s\n", file.c_str());
      reported = -1;
      if (!converter.Load(file)) {
        std::printf("the load of %s stopped early\n", file.c_str());
        return kExitStopped;
      }
    }
    const musedata::Document score = converter.XML();
    std::printf("score: %s with %d parts\n", RootName(score).c_str(), CountParts(score));
    if (!options.savePath.empty()) {
      component.SetPartNumber(static_cast<int32_t>(options.savePart));
      std::printf("saving part %ld to %s\n", options.savePart, options.savePath.c_str());
      if (!converter.Save(options.savePath)) {
        std::printf("the save stopped early\n");
        return kExitStopped;
      }
    }
    return kExitDone;
  } catch (const musedata::ConverterError& error) {
    ReportError(error);
    return kExitError;
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseArguments(argc, argv, options)) {
    std::fprintf(stderr,
                 "usage: host LIBRARY FILE... [--cancel-after N] [--cancel-error] [--save PATH] "
                 "[--part N]\n");
    return kExitUsage;
  }
  void* library = dlopen(options.library.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    std::fprintf(stderr, "host: %s\n", dlerror());
    return kExitUsage;
  }
  EntryPoints entry{};
  if (!FindEntryPoints(library, entry)) {
    std::fprintf(stderr, "host: %s is not an in-process converter server\n",
                 options.library.c_str());
    dlclose(library);
    return kExitUsage;
  }
  std::printf("DllRegisterServer: %d\n", entry.registerServer());
  void* object = nullptr;
  const int got = entry.getClassObject(musedata::kMuseDataProgId, &object);
  std::printf("DllGetClassObject(%s): 0x%08X\n", musedata::kMuseDataProgId,
              static_cast<uint32_t>(got));
  if (got != 0) {
    dlclose(library);
    return kExitUsage;
  }
  int status = kExitDone;
  {
    auto* factory = static_cast<musedata::ClassFactory*>(object);
    const std::unique_ptr<musedata::MusicXMLConverter> converter(factory->CreateInstance());
    std::printf("DllCanUnloadNow with the component alive: %d\n", entry.canUnloadNow());
    status = Convert(*converter, options);
  }
  std::printf("DllCanUnloadNow after releasing it: %d\n", entry.canUnloadNow());
  entry.unregisterServer();
  dlclose(library);
  return status;
}
