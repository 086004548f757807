#include "serve.h"

#include <httplib.h>
#include <malloc.h>

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
#include <set>
#include <thread>

#include "component/natural_order.h"
#include "component/zip_archive.h"
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

using Clock = std::chrono::steady_clock;

// Lets conversions in one at a time per client and `running` at a time in
// all, with at most `waiting` requests queued behind them; a request beyond
// that, or one that waits longer than `patience`, is turned away (503), so a
// burst of uploads is answered, not piled up in memory. Once no conversion
// has run for a moment, the memory they freed goes back to the system.
class ConversionGate {
 public:
  ConversionGate(int running, int waiting)
      : m_running(running), m_waiting(waiting), m_trimmer([this] { TrimWhenIdle(); }) {}
  ~ConversionGate() {
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      m_stopping = true;
    }
    m_changed.notify_all();
    m_trimmer.join();
  }
  ConversionGate(const ConversionGate&) = delete;
  ConversionGate& operator=(const ConversionGate&) = delete;

  // True when `client` may convert now; false when it is turned away.
  bool Enter(const std::string& client, std::chrono::seconds patience) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_queued >= m_waiting) return false;
    ++m_queued;
    const bool in = m_changed.wait_for(
        lock, patience, [&] { return m_inside < m_running && !m_clients.count(client); });
    --m_queued;
    if (!in) return false;
    ++m_inside;
    m_clients.insert(client);
    return true;
  }

  void Leave(const std::string& client) {
    {
      std::lock_guard<std::mutex> lock(m_mutex);
      --m_inside;
      m_clients.erase(client);
      m_left = Clock::now();
      m_used = true;
    }
    m_changed.notify_all();
  }

 private:
  // The replies of the last conversions are freed after they are sent, so
  // the memory is given back a moment after the last one left, not at once.
  void TrimWhenIdle() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
      m_changed.wait_for(lock, std::chrono::milliseconds(250));
      if (!m_used || m_inside > 0 || Clock::now() - m_left < std::chrono::milliseconds(200))
        continue;
      m_used = false;
      lock.unlock();
      malloc_trim(0);
      lock.lock();
    }
  }

  const int m_running;
  const int m_waiting;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  int m_inside = 0;
  int m_queued = 0;
  std::set<std::string> m_clients;
  Clock::time_point m_left;
  bool m_used = false;
  bool m_stopping = false;
  std::thread m_trimmer;  // last: it starts once the rest is made
};

// A conversion's time: progress handlers cancel the conversion once it is
// spent.
struct Budget {
  Clock::time_point deadline;
  bool spent = false;
  void Check(bool& cancel) {
    if (Clock::now() < deadline) return;
    spent = true;
    cancel = true;
  }
};

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
// parts of one score in natural name order. A conversion that spends its
// budget is stopped.
json Convert(std::vector<InputFile> files, Budget& budget) {
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
      options.progress = [&](const std::string&, int32_t, int32_t, bool& cancel) {
        budget.Check(cancel);
      };
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

// What the handlers share: the server's limits and the gate of its conversions.
class Service {
 public:
  explicit Service(const ServeOptions& options)
      : m_options(options), m_gate(options.conversions, options.queued) {}

  // Converts the files of a multipart upload (field "file").
  void Convert(const httplib::Request& request, httplib::Response& response,
               const httplib::ContentReader& reader) {
    if (!request.is_multipart_form_data()) {
      Reply(response, 400, Problem(400, "send the files as multipart/form-data, field \"file\""));
      return;
    }
    Admission admission(*this, request, response, reader);
    if (!admission) return;
    std::vector<InputFile> files;
    bool wanted = false;
    const bool read = reader(
        [&](const httplib::MultipartFormData& file) {
          wanted = file.name == kUploadField;
          if (wanted) files.push_back({file.filename.empty() ? "upload" : file.filename, {}});
          return true;
        },
        [&](const char* data, size_t length) {
          if (wanted) files.back().bytes.append(data, length);
          return true;
        });
    if (!read) {
      BodyRefused(response);
      return;
    }
    if (files.empty()) {
      Reply(response, 400, Problem(400, "no file was sent (multipart field \"file\")"));
      return;
    }
    if (const std::optional<std::string> tooLarge = OverMemoryBudget(files)) {
      Reply(response, 413, Problem(413, *tooLarge));
      return;
    }
    Budget budget = StartBudget();
    json result = tool::Convert(std::move(files), budget);
    if (budget.spent) {
      Reply(response, 503, Problem(503, TimeSpent()));
      return;
    }
    Reply(response, 200, result);
  }

  // The MusicXML text of the request's body, as the page holds it after a
  // conversion, parsed again for a download.
  void Mxl(const httplib::Request& request, httplib::Response& response,
           const httplib::ContentReader& reader) {
    Admission admission(*this, request, response, reader);
    if (!admission) return;
    std::string body;
    if (!ReadBody(reader, response, body)) return;
    try {
      const Document document = ParseMusicXml(body, "score.musicxml");
      Send(response, MxlBytes(document), kMxlType);
      response.set_header("Content-Disposition", "attachment; filename=\"score.mxl\"");
    } catch (const ConverterError& error) {
      Reply(response, 422, Problem(422, ErrorText(error)));
    }
  }

  // One part of the MusicXML body as MuseData, as `musedata export` writes it.
  void MuseData(const httplib::Request& request, httplib::Response& response,
                const httplib::ContentReader& reader) {
    int part = 0;
    try {
      part = std::stoi(request.get_param_value("part"));
    } catch (const std::exception&) {
      Reply(response, 400, Problem(400, "the query needs part=N, a part number from 1"));
      return;
    }
    Admission admission(*this, request, response, reader);
    if (!admission) return;
    std::string body;
    if (!ReadBody(reader, response, body)) return;
    try {
      const Document document = ParseMusicXml(body, "score.musicxml");
      json warnings = json::array();
      Budget budget = StartBudget();
      ExportOptions options;
      options.finish = true;
      options.reduceDivisions = true;
      options.name = "score.musicxml";
      options.progress = [&](int32_t, int32_t, bool& cancel) { budget.Check(cancel); };
      options.warning = [&](const std::string& text) {
        warnings.push_back(Message("warning", text, {}));
      };
      std::string text;
      try {
        text = ExportPartText(document, part, options);
      } catch (const ConverterError&) {
        if (!budget.spent) throw;
        Reply(response, 503, Problem(503, TimeSpent()));
        return;
      }
      Send(response, std::move(text), "text/plain; charset=utf-8");
      response.set_header("Content-Disposition",
                          "attachment; filename=\"" + std::to_string(part) + ".md\"");
      // The export's warnings travel with the file, for the page's list.
      response.set_header("X-Musedata-Warnings", warnings.dump(-1, ' ', true));
    } catch (const ConverterError& error) {
      Reply(response, 422, Problem(422, ErrorText(error)));
    }
  }

 private:
  // A place at the gate for one request, held until the reply is made; a
  // request turned away is answered 503, its body read and dropped as it
  // comes so that the client hears the answer.
  class Admission {
   public:
    Admission(Service& service, const httplib::Request& request, httplib::Response& response,
              const httplib::ContentReader& reader)
        : m_service(service), m_client(request.remote_addr) {
      m_in = service.m_gate.Enter(m_client, std::chrono::seconds(service.m_options.patience));
      if (m_in) return;
      const auto drop = [](const char*, size_t) { return true; };
      if (request.is_multipart_form_data()) {
        reader([](const httplib::MultipartFormData&) { return true; }, drop);
      } else {
        reader(drop);
      }
      response.set_header("Retry-After", "5");
      Reply(response, 503,
            Problem(503, "the server is busy with other conversions; try again in a moment"));
    }
    ~Admission() {
      if (m_in) m_service.m_gate.Leave(m_client);
    }
    Admission(const Admission&) = delete;
    Admission& operator=(const Admission&) = delete;
    explicit operator bool() const { return m_in; }

   private:
    Service& m_service;
    std::string m_client;
    bool m_in = false;
  };

  // The request's whole body, read against the upload limit; false (and the
  // reply made) when it could not be.
  static bool ReadBody(const httplib::ContentReader& reader, httplib::Response& response,
                       std::string& body) {
    if (reader([&](const char* data, size_t length) {
          body.append(data, length);
          return true;
        }))
      return true;
    BodyRefused(response);
    return false;
  }

  // A body over the upload limit (413) or one that is no well-formed
  // multipart body (400).
  static void BodyRefused(httplib::Response& response) {
    const int status = response.status == 413 ? 413 : 400;
    response.set_header("Connection", "close");
    Reply(response, status,
          Problem(status, status == 413 ? "the upload is larger than the server accepts (50 MB)"
                                        : "the request's body could not be read (a multipart "
                                          "body cut short or without its boundary?)"));
  }

  // Why the conversion of `files` would take more memory than the budget,
  // or nothing. A score's tree takes some ninety bytes for each byte of
  // MuseData and some nine for each byte of MusicXML text (an .mxl inflates
  // within the zip reader's limits, to a tree of at most about 900 MB).
  std::optional<std::string> OverMemoryBudget(const std::vector<InputFile>& files) const {
    constexpr size_t kTreePerMuseDataByte = 90;
    constexpr size_t kTreePerMusicXmlByte = 9;
    size_t estimate = 0;
    for (const InputFile& file : files)
      estimate += file.bytes.size() * (LooksLikeZip(file.bytes)        ? 0
                                       : LooksLikeMusicXml(file.bytes) ? kTreePerMusicXmlByte
                                                                       : kTreePerMuseDataByte);
    if (estimate <= m_options.memoryBudget) return std::nullopt;
    return "the score of these files would take about " + std::to_string(estimate >> 20) +
           " MB of memory, more than the preview gives one conversion (" +
           std::to_string(m_options.memoryBudget >> 20) + " MB); convert them with musedata import";
  }

  Budget StartBudget() const {
    return {Clock::now() + std::chrono::duration_cast<Clock::duration>(
                               std::chrono::duration<double>(m_options.timeLimit))};
  }

  std::string TimeSpent() const {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%g", m_options.timeLimit);
    return std::string("the conversion took longer than ") + seconds + " s and was stopped";
  }

  const ServeOptions& m_options;
  ConversionGate m_gate;
};

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

  // Large blocks (uploads, scores' text) are mapped on their own and go back
  // to the system when freed, and few malloc arenas serve the many workers.
  mallopt(M_MMAP_THRESHOLD, 1 << 20);
  mallopt(M_ARENA_MAX, 4);
  httplib::Server server;
  Service service(options);
  server.set_payload_max_length(options.maxUpload);
  // Idle and slow connections hold a worker each until their timeout; with
  // many workers, they cannot keep the page from answering.
  server.new_task_queue = [] { return new httplib::ThreadPool(64); };
  server.set_read_timeout(5);
  server.set_write_timeout(5);
  server.set_keep_alive_timeout(2);
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
  server.Post("/api/convert", [&](const httplib::Request& request, httplib::Response& response,
                                  const httplib::ContentReader& reader) {
    service.Convert(request, response, reader);
  });
  server.Post("/api/mxl", [&](const httplib::Request& request, httplib::Response& response,
                              const httplib::ContentReader& reader) {
    service.Mxl(request, response, reader);
  });
  server.Post("/api/musedata", [&](const httplib::Request& request, httplib::Response& response,
                                   const httplib::ContentReader& reader) {
    service.MuseData(request, response, reader);
  });
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
