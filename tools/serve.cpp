#include "serve.h"

#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "component/natural_order.h"
#include "musedata/converter_error.h"
#include "musedata/score.h"
#include "score_bytes.h"

namespace musedata::tool {
namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr const char* kJson = "application/json";
constexpr const char* kMxlType = "application/vnd.recordare.musicxml";
constexpr const char* kUploadField = "file";

// The page's files, read once when the server starts: path below the assets
// folder ("index.html", "samples/minuet/01-violino.md") to bytes.
using Assets = std::map<std::string, std::string>;

std::string ContentType(const std::string& path) {
  const std::string extension = fs::path(path).extension().string();
  if (extension == ".html") return "text/html; charset=utf-8";
  if (extension == ".js") return "text/javascript; charset=utf-8";
  if (extension == ".css") return "text/css; charset=utf-8";
  if (extension == ".json") return "application/json";
  return "text/plain; charset=utf-8";
}

std::optional<fs::path> FindAssets(const std::string& chosen) {
  std::vector<fs::path> candidates;
  if (!chosen.empty()) {
    candidates.emplace_back(chosen);
  } else {
    // Beside the tool in its build folder (build/serve), or in the share
    // folder of the prefix it is installed in.
    std::error_code status;
    const fs::path tool = fs::read_symlink("/proc/self/exe", status).parent_path();
    candidates.push_back(tool / "serve");
    candidates.push_back(tool.parent_path() / "share" / "musedata" / "serve");
  }
  for (const fs::path& folder : candidates) {
    std::error_code status;
    if (fs::is_regular_file(folder / "index.html", status)) return folder;
  }
  return std::nullopt;
}

Assets ReadAssets(const fs::path& folder) {
  Assets assets;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream stream(entry.path(), std::ios::binary);
    assets[fs::relative(entry.path(), folder).generic_string()] =
        std::string((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  }
  return assets;
}

std::string ErrorText(const ConverterError& error) {
  char number[16];
  std::snprintf(number, sizeof number, "0x%08X", static_cast<uint32_t>(error.Number()));
  return std::string("error ") + number + " (" + error.Source() + "): " + error.Description();
}

json Message(const char* level, const std::string& text, const ImportPlace& place) {
  return {{"level", level},     {"text", text},       {"file", place.file},
          {"part", place.part}, {"line", place.line}, {"measure", place.measure}};
}

json Problem(int status, const std::string& text) {
  return {
      {"ok", false}, {"status", status}, {"messages", json::array({Message("error", text, {})})}};
}

// Sends `body` as it is. A body set with set_content is compressed for a
// browser that accepts brotli or gzip, which on a loopback connection only
// costs time: seconds for the renderer's script. A body handed over with its
// length is sent unchanged.
void Send(httplib::Response& response, std::string body, const std::string& type) {
  auto bytes = std::make_shared<const std::string>(std::move(body));
  response.set_content_provider(
      bytes->size(), type, [bytes](size_t offset, size_t length, httplib::DataSink& sink) {
        return sink.write(bytes->data() + offset, std::min(length, bytes->size() - offset));
      });
}

void Reply(httplib::Response& response, int status, const json& body) {
  response.status = status;
  // A file name that is not UTF-8 gets replacement characters rather than
  // failing the reply.
  Send(response, body.dump(-1, ' ', false, json::error_handler_t::replace), kJson);
}

// Converts the uploaded files: one MusicXML file (text or .mxl) is read as
// it is; anything else is MuseData, part files or set files, loaded as the
// parts of one score in natural name order.
json Convert(std::vector<InputFile> files) {
  json messages = json::array();
  json result = {{"ok", false}};
  const bool musicXml = files.size() == 1 && LooksLikeMusicXml(files.front().bytes);
  ImportPlace stoppedAt;
  try {
    if (musicXml) {
      const Document document = ParseMusicXml(files.front().bytes, files.front().name);
      result["musicxml"] = ToMusicXmlText(document);
      result["kind"] = "musicxml";
    } else {
      for (const InputFile& file : files) {
        if (LooksLikeMusicXml(file.bytes)) {
          throw ConverterError(5, "musedata",
                               file.name +
                                   " is MusicXML: drop one MusicXML file on its own, or "
                                   "only MuseData files");
        }
      }
      std::sort(files.begin(), files.end(),
                [](const InputFile& a, const InputFile& b) { return NaturalLess(a.name, b.name); });
      ImportOptions options;
      options.groupType = "score";
      options.placedWarning = [&](const std::string& text, const ImportPlace& place) {
        messages.push_back(Message("warning", text, place));
      };
      options.stopped = [&](const ImportPlace& place) { stoppedAt = place; };
      const ImportResult imported = ImportScoreFromMemory(files, options);
      if (!imported.complete) {
        messages.push_back(
            Message("error", "conversion stopped: " + imported.stoppedAt, stoppedAt));
        result["messages"] = messages;
        return result;
      }
      result["musicxml"] = ToMusicXmlText(imported.document);
      result["kind"] = "musedata";
    }
    result["ok"] = true;
  } catch (const ConverterError& error) {
    messages.push_back(Message("error", ErrorText(error), stoppedAt));
  } catch (const std::exception& error) {
    messages.push_back(Message("error", error.what(), stoppedAt));
  }
  result["messages"] = messages;
  return result;
}

void HandleConvert(const httplib::Request& request, httplib::Response& response) {
  if (!request.is_multipart_form_data()) {
    Reply(response, 400, Problem(400, "send the files as multipart/form-data, field \"file\""));
    return;
  }
  std::vector<InputFile> files;
  for (const auto& [field, upload] : request.files) {
    if (field != kUploadField) continue;
    files.push_back({upload.filename.empty() ? "upload" : upload.filename, upload.content});
  }
  if (files.empty()) {
    Reply(response, 400, Problem(400, "no file was sent (multipart field \"file\")"));
    return;
  }
  Reply(response, 200, Convert(std::move(files)));
}

// The MusicXML text of the request's body, as the page holds it after a
// conversion, parsed again for a download.
void HandleMxl(const httplib::Request& request, httplib::Response& response) {
  try {
    const Document document = ParseMusicXml(request.body, "score.musicxml");
    Send(response, MxlBytes(document), kMxlType);
    response.set_header("Content-Disposition", "attachment; filename=\"score.mxl\"");
  } catch (const ConverterError& error) {
    Reply(response, 422, Problem(422, ErrorText(error)));
  }
}

void HandleMuseData(const httplib::Request& request, httplib::Response& response) {
  int part = 0;
  try {
    part = std::stoi(request.get_param_value("part"));
  } catch (const std::exception&) {
    Reply(response, 400, Problem(400, "the query needs part=N, a part number from 1"));
    return;
  }
  try {
    const Document document = ParseMusicXml(request.body, "score.musicxml");
    json warnings = json::array();
    // The part as `musedata export` writes it.
    ExportOptions options;
    options.finish = true;
    options.reduceDivisions = true;
    options.name = "score.musicxml";
    options.warning = [&](const std::string& text) {
      warnings.push_back(Message("warning", text, {}));
    };
    Send(response, ExportPartText(document, part, options), "text/plain; charset=utf-8");
    response.set_header("Content-Disposition",
                        "attachment; filename=\"" + std::to_string(part) + ".md\"");
    // The export's warnings travel with the file, for the page's list.
    response.set_header("X-Musedata-Warnings", warnings.dump(-1, ' ', true));
  } catch (const ConverterError& error) {
    Reply(response, 422, Problem(422, ErrorText(error)));
  }
}

httplib::Server* gServer = nullptr;

extern "C" void StopOnSignal(int) {
  if (gServer) gServer->stop();
}

}  // namespace

int Serve(const ServeOptions& options) {
  const std::optional<fs::path> folder = FindAssets(options.assets);
  if (!folder) {
    std::fprintf(stderr, "musedata: the preview page's files were not found%s%s\n",
                 options.assets.empty() ? "" : " in ", options.assets.c_str());
    return 2;
  }
  const Assets assets = ReadAssets(*folder);
  if (!assets.count("verovio-toolkit-wasm.js")) {
    std::fprintf(stderr,
                 "musedata: warning: verovio is not installed in %s; the page shows "
                 "conversions without rendering them\n",
                 folder->c_str());
  }

  httplib::Server server;
  server.set_payload_max_length(options.maxUpload);
  server.Get(R"(/(.*))", [&](const httplib::Request& request, httplib::Response& response) {
    std::string path = request.matches[1];
    if (path.empty()) path = "index.html";
    const auto found = assets.find(path);
    if (found == assets.end()) {
      Reply(response, 404, Problem(404, "no such page: /" + path));
      return;
    }
    Send(response, found->second, ContentType(path));
  });
  server.Post("/api/convert", HandleConvert);
  server.Post("/api/mxl", HandleMxl);
  server.Post("/api/musedata", HandleMuseData);
  server.set_exception_handler(
      [](const httplib::Request&, httplib::Response& response, std::exception_ptr error) {
        std::string text = "internal error";
        try {
          std::rethrow_exception(error);
        } catch (const std::exception& caught) {
          text = caught.what();
        } catch (...) {
        }
        Reply(response, 500, Problem(500, text));
      });
  server.set_error_handler([](const httplib::Request&, httplib::Response& response) {
    // Our own replies carry their type; httplib's own (an upload over the
    // limit, a request it could not read) get a message.
    if (response.has_header("Content-Type")) return;
    const std::string text = response.status == 413
                                 ? "the upload is larger than the server accepts (50 MB)"
                                 : "bad request";
    Reply(response, response.status, Problem(response.status, text));
  });

  int port = options.port;
  if (port == 0) {
    port = server.bind_to_any_port("127.0.0.1");
  } else if (!server.bind_to_port("127.0.0.1", port)) {
    port = -1;
  }
  if (port <= 0) {
    std::fprintf(stderr, "musedata: cannot listen on 127.0.0.1 port %d\n", options.port);
    return 2;
  }
  std::printf("musedata: preview at http://127.0.0.1:%d/\n", port);
  std::fflush(stdout);

  gServer = &server;
  std::signal(SIGINT, StopOnSignal);
  std::signal(SIGTERM, StopOnSignal);
  std::mutex mutex;
  std::condition_variable stopped;
  bool done = false;
  std::thread timer;
  if (options.stopAfter > 0) {
    timer = std::thread([&] {
      std::unique_lock<std::mutex> lock(mutex);
      if (!stopped.wait_for(lock, std::chrono::seconds(options.stopAfter), [&] { return done; }))
        server.stop();
    });
  }
  server.listen_after_bind();
  {
    std::lock_guard<std::mutex> lock(mutex);
    done = true;
  }
  stopped.notify_all();
  if (timer.joinable()) timer.join();
  gServer = nullptr;
  return 0;
}

}  // namespace musedata::tool

extern "C" int musedata_serve(const musedata::tool::ServeOptions* options) {
  return musedata::tool::Serve(*options);
}
