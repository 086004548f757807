#pragma once

// musedata serve: a small HTTP server on 127.0.0.1 whose page converts the
// MuseData or MusicXML files dropped on it and shows the score, its warnings
// and errors, and downloads of the result.

#include <string>

namespace CLI {
class App;
}

namespace musedata::tool {

struct ServeOptions {
  int port = 8765;  // 0 takes any free port
  // The folder of the page's files; empty looks beside the tool (build/serve)
  // and in the share folder of its prefix.
  std::string assets;
  // Stops the server after this many seconds; 0 serves until interrupted.
  int stopAfter = 0;
  // Largest upload accepted, in bytes.
  size_t maxUpload = 50u * 1024 * 1024;
  // Seconds a conversion may take before it is stopped (503).
  double timeLimit = 60;
  // Conversions at once (one per client at most), and requests that may
  // wait for one; a request beyond them, or one that waits `patience`
  // seconds, is turned away (503).
  int conversions = 2;
  int queued = 8;
  int patience = 30;
  // Memory a conversion may take, judged before it starts from the size of
  // what was sent (see the server's estimate); a larger one is refused.
  size_t memoryBudget = size_t{1} << 30;
};

// Declares the serve subcommand and its options on `app`.
CLI::App* AddServeCommand(CLI::App& app, ServeOptions& options);

// Loads the server, a module of its own (musedata-serve.so beside the tool in
// its build folder, or in lib/musedata of its prefix), and serves until
// interrupted (or for `stopAfter` seconds); returns the exit status. The
// server's HTTP and TLS libraries are loaded only for this command, so that
// the conversions do not carry them.
int RunServe(const ServeOptions& options);

}  // namespace musedata::tool

// The server module's entry point: serves as RunServe says.
extern "C" int musedata_serve(const musedata::tool::ServeOptions* options);
