// The serve subcommand: its options, and the loading of the server module.

#include <dlfcn.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "serve.h"

namespace musedata::tool {
namespace fs = std::filesystem;

CLI::App* AddServeCommand(CLI::App& app, ServeOptions& options) {
  CLI::App* command = app.add_subcommand(
      "serve", "Start the preview page on 127.0.0.1: drop MuseData or MusicXML files on it");
  command->add_option("--port", options.port, "Port to listen on (0 takes any free port)")
      ->check(CLI::Range(0, 65535))
      ->capture_default_str();
  command->add_option("--assets", options.assets, "Folder of the page's files");
  command->add_option("--stop-after", options.stopAfter, "Stop after this many seconds")
      ->check(CLI::NonNegativeNumber);
  command->add_option("--time-limit", options.timeLimit, "Seconds a conversion may take")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  command->add_option("--queue", options.queued, "Requests that may wait for a conversion")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str();
  return command;
}

int RunServe(const ServeOptions& options) {
  std::error_code status;
  const fs::path tool = fs::read_symlink("/proc/self/exe", status).parent_path();
  const std::vector<fs::path> candidates = {
      tool / "musedata-serve.so",
      tool.parent_path() / MUSEDATA_LIBDIR / "musedata" / "musedata-serve.so"};
  std::string tried;
  for (const fs::path& candidate : candidates) {
    if (!fs::is_regular_file(candidate, status)) {
      tried += (tried.empty() ? "" : ", ") + candidate.string();
      continue;
    }
    void* module = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
    const auto serve =
        module ? reinterpret_cast<int (*)(const ServeOptions*)>(dlsym(module, "musedata_serve"))
               : nullptr;
    if (!serve) {
      std::fprintf(stderr, "musedata: cannot load the preview server %s: %s\n", candidate.c_str(),
                   dlerror());
      return 2;
    }
    // The module stays loaded until the process ends.
    return serve(&options);
  }
  std::fprintf(stderr, "musedata: the preview server is not installed (looked for %s)\n",
               tried.c_str());
  return 2;
}

}  // namespace musedata::tool
