#include "batch.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "component/atomic_file.h"
#include "component/line_source.h"
#include "component/pending_file.h"
#include "component/set_file.h"
#include "component/zip_archive.h"
#include "interrupt.h"
#include "musedata/converter_error.h"
#include "progress_bar.h"
#include "xml/arena.h"

namespace fs = std::filesystem;

namespace musedata::tool {
namespace {

// One MusicXML file to make: the MuseData files of one movement.
struct Movement {
  std::string label;  // the movement's path below the input folder, for messages
  std::vector<std::string> files;
  fs::path output;
  uintmax_t bytes = 0;
};

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// MuseData files carry one of these endings, or none at all; a zip
// container holds the part files of one movement.
bool HasMuseDataEnding(const fs::path& path) {
  const std::string ending = Lower(path.extension().string());
  return ending.empty() || ending == ".md" || ending == ".msd" || ending == ".mds" ||
         ending == ".md2" || ending == ".zip";
}

enum class FileKind { NoPart, Part, Set, Zip, Unreadable };

// Decides by content: a zip container or a file of several parts is a
// movement of its own, a file of one part is a part of its folder's movement,
// whether or not it ends with "/eof".
FileKind Classify(const fs::path& path) {
  const std::optional<std::string> bytes = ReadFileBytes(path.string());
  if (!bytes) return FileKind::Unreadable;
  if (LooksLikeZip(*bytes)) return FileKind::Zip;
  const size_t parts = SetFileParts(*bytes).parts.size();
  return parts == 0 ? FileKind::NoPart : parts == 1 ? FileKind::Part : FileKind::Set;
}

bool IsHidden(const fs::path& path) {
  const std::string name = path.filename().string();
  return !name.empty() && name.front() == '.';
}

// Files without a MuseData part, by the folder they stand in.
using PassedOver = std::map<fs::path, std::vector<std::string>>;

// A folder or file of the tree that could not be read, and why.
struct Unreadable {
  std::string label;
  std::string reason;
};

std::string Reason(const std::error_code& error) {
  return "cannot be read: " + error.message();
}

// A file of the tree that may be MuseData, and what its content makes it.
struct Candidate {
  fs::path path;
  fs::path relative;  // below the input folder
  uintmax_t bytes = 0;
  FileKind kind = FileKind::Unreadable;
  int error = 0;  // why an unreadable file could not be read
};

// Classifies every candidate, `threads` files at a time: reading and
// splitting the files is what finding the movements spends its time on.
void ClassifyAll(std::vector<Candidate>& candidates, unsigned threads) {
  std::atomic<size_t> next{0};
  const auto classify = [&] {
    for (size_t index = next++; index < candidates.size(); index = next++) {
      Candidate& candidate = candidates[index];
      candidate.kind = Classify(candidate.path);
      if (candidate.kind == FileKind::Unreadable) candidate.error = errno;
    }
  };
  std::vector<std::thread> helpers;
  for (unsigned i = 1; i < threads && i < candidates.size(); ++i) helpers.emplace_back(classify);
  classify();
  for (std::thread& helper : helpers) helper.join();
}

// Walks the whole tree and classifies its files on `threads` threads: a
// folder or file that cannot be read is noted in `unreadable` and the walk
// goes on past it.
std::vector<Movement> FindMovements(const fs::path& input, const fs::path& output, unsigned threads,
                                    PassedOver& passedOver, std::vector<Unreadable>& unreadable) {
  std::vector<Candidate> candidates;
  std::error_code status;
  std::error_code walk;
  for (auto entry = fs::recursive_directory_iterator(input, walk);
       entry != fs::recursive_directory_iterator(); entry.increment(walk)) {
    const fs::path& path = entry->path();
    if (IsHidden(path)) {
      if (entry->is_directory(status)) entry.disable_recursion_pending();
      continue;
    }
    const fs::path relative = fs::relative(path, input, status);
    if (entry->is_directory(status)) {
      // Stepping into a folder that cannot be opened would end the walk.
      std::error_code opened;
      fs::directory_iterator probe(path, opened);
      if (opened) {
        unreadable.push_back({relative.string() + "/", Reason(opened)});
        entry.disable_recursion_pending();
      }
      continue;
    }
    if (!entry->is_regular_file(status) || !HasMuseDataEnding(path)) continue;
    candidates.push_back({path, relative, entry->file_size(status)});
  }
  ClassifyAll(candidates, threads);

  std::map<fs::path, Movement> folders;  // part files by their folder
  std::vector<Movement> movements;
  for (const auto& [path, relative, bytes, kind, error] : candidates) {
    if (kind == FileKind::Unreadable) {
      unreadable.push_back(
          {relative.string(), Reason(std::error_code(error, std::generic_category()))});
      continue;
    }
    if (kind == FileKind::NoPart) {
      passedOver[relative.parent_path()].push_back(relative.filename().string());
      continue;
    }
    if (kind != FileKind::Part) {
      Movement movement{relative.string(),
                        {path.string()},
                        output / fs::path(relative).replace_extension(".musicxml"),
                        bytes};
      movements.push_back(std::move(movement));
      continue;
    }
    fs::path folder = relative.parent_path();
    Movement& movement = folders[folder];
    if (movement.files.empty()) {
      const fs::path name =
          folder.empty() ? fs::absolute(input).lexically_normal().filename() : folder;
      movement.label = (folder.empty() ? name : folder).string() + "/";
      movement.output = output / fs::path(name.string() + ".musicxml");
    }
    movement.files.push_back(path.string());
    movement.bytes += bytes;
  }
  if (walk) unreadable.push_back({input.string(), Reason(walk)});
  for (auto& [folder, movement] : folders) {
    std::sort(movement.files.begin(), movement.files.end(), NaturalLess);
    movements.push_back(std::move(movement));
  }
  std::sort(movements.begin(), movements.end(),
            [](const Movement& a, const Movement& b) { return NaturalLess(a.label, b.label); });
  return movements;
}

// What became of the parts of one movement, or of all.
struct PartTally {
  size_t found = 0;
  size_t loaded = 0;
  size_t outsideGroup = 0;
  size_t withoutMusic = 0;
  void Count(PartFate fate) {
    ++found;
    if (fate == PartFate::Loaded) ++loaded;
    if (fate == PartFate::OutsideGroup) ++outsideGroup;
    if (fate == PartFate::WithoutMusic) ++withoutMusic;
  }
};

std::string ErrorLine(const ConverterError& error) {
  char number[16];
  std::snprintf(number, sizeof number, "0x%08X", static_cast<uint32_t>(error.Number()));
  return std::string("error ") + number + " (" + error.Source() + "): " + error.Description();
}

// Every output of the batch that would overwrite one of its inputs, as one
// message; empty when there is none.
std::string RefusedOutput(const std::vector<Movement>& movements) {
  std::vector<std::string> outputs;
  std::vector<std::string> inputs;
  for (const Movement& movement : movements) {
    outputs.push_back(movement.output.string());
    inputs.insert(inputs.end(), movement.files.begin(), movement.files.end());
  }
  try {
    RefuseOutputOverInputs(outputs, inputs);
    return {};
  } catch (const ConverterError& error) {
    return ErrorLine(error);
  }
}

// How a movement ended: its file in place, a failure, or broken off by a
// signal (neither converted nor failed).
enum class Outcome { Converted, Failed, Stopped };

// What the batch has done so far, as the progress bar and the summary tell
// it. A movement counts as converted only once its file is in place.
class Account {
 public:
  Account(const std::vector<Movement>& movements, std::vector<Unreadable> unreadable, bool progress)
      : m_found(movements.size() + unreadable.size()), m_bar(progress) {
    for (const Movement& movement : movements) m_totalBytes += movement.bytes;
    for (auto& [label, reason] : unreadable) m_failures.emplace_back(label, std::move(reason));
  }

  // Counts a movement that has ended; `failure` is the error line of a
  // failed one.
  void Settle(const Movement& movement, const PartTally& tally, Outcome outcome,
              const std::string& failure) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (outcome != Outcome::Stopped) {
      m_parts.found += tally.found;
      m_parts.outsideGroup += tally.outsideGroup;
      m_parts.withoutMusic += tally.withoutMusic;
    }
    if (outcome == Outcome::Converted) {
      ++m_converted;
      m_files += movement.files.size();
      m_parts.loaded += tally.loaded;
    } else if (outcome == Outcome::Failed) {
      m_failures.emplace_back(movement.label, failure);
    }
    m_doneBytes += movement.bytes;
    m_bar.Update(std::to_string(m_converted + m_failures.size()) + " of " +
                     std::to_string(m_found) + " movements",
                 static_cast<int64_t>(m_doneBytes), static_cast<int64_t>(m_totalBytes));
  }

  // Prints a warning about a movement, below the progress bar.
  void Warn(const Movement& movement, const std::string& text) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_bar.Finish();
    std::fprintf(stderr, "musedata: warning: %s: %s\n", movement.label.c_str(), text.c_str());
  }

  // Prints the summary once every worker is done: the counts, why the batch
  // ended early, and each failure. Returns the exit status.
  int Summarize(double seconds, size_t skipped, const std::string& inputFolder) {
    m_bar.Finish();
    std::sort(m_failures.begin(), m_failures.end());
    std::fprintf(stderr, "musedata: converted %zu of %zu movements (%zu files, %zu of %zu parts",
                 m_converted, m_found, m_files, m_parts.loaded, m_parts.found);
    if (m_parts.outsideGroup) std::fprintf(stderr, "; %zu outside the group", m_parts.outsideGroup);
    if (m_parts.withoutMusic)
      std::fprintf(stderr, "; %zu without musical data", m_parts.withoutMusic);
    std::fprintf(stderr, ") in %.2f s", seconds);
    if (IsInterrupted())
      std::fprintf(stderr, " before %s interrupted the batch; the rest were not written",
                   InterruptName());
    if (skipped) std::fprintf(stderr, "; passed over %zu files that are not MuseData", skipped);
    std::fprintf(stderr, "\n");
    if (!m_failures.empty()) {
      std::fprintf(stderr, "musedata: %zu failed:\n", m_failures.size());
      for (const auto& [label, line] : m_failures)
        std::fprintf(stderr, "musedata: %s: %s\n", label.c_str(), line.c_str());
    }
    if (IsInterrupted()) return InterruptedExitStatus();
    if (m_found == 0) {
      std::fprintf(stderr, "musedata: no MuseData files below %s\n", inputFolder.c_str());
      return 2;
    }
    return m_failures.empty() ? 0 : 2;
  }

 private:
  std::mutex m_lock;  // guards everything below and standard error
  const size_t m_found;
  ProgressBar m_bar;
  uintmax_t m_totalBytes = 0;
  uintmax_t m_doneBytes = 0;
  size_t m_converted = 0;
  size_t m_files = 0;
  PartTally m_parts;  // loaded: into the movements converted
  std::vector<std::pair<std::string, std::string>> m_failures;  // movement, error line
};

// A movement whose MusicXML is all in its temporary file, on its way to the
// disk, waiting to be put in place.
struct Pending {
  const Movement* movement = nullptr;
  PartTally tally;
  std::unique_ptr<AtomicFileWriter> file;
};

// Puts the workers' finished files in place, in the order they came, on a
// thread of its own: waiting for the disk to take a file in (fsync, rename,
// fsync of the folder) is most of the time a movement's commit takes, and the
// workers convert the next movements meanwhile. Each movement is counted once
// its file is in place, or failed with the commit's error.
class Committer {
 public:
  explicit Committer(Account& account) : m_account(account), m_thread([this] { Run(); }) {}
  ~Committer() { Finish(); }
  Committer(const Committer&) = delete;
  Committer& operator=(const Committer&) = delete;

  // Queues a finished file; waits while the queue is full, so that the
  // temporary files and descriptors held open stay few.
  void Add(Pending pending) {
    std::unique_lock<std::mutex> guard(m_lock);
    m_changed.wait(guard, [&] { return m_waiting.size() < kMaxWaiting; });
    m_waiting.push_back(std::move(pending));
    m_changed.notify_all();
  }

  // Commits every file still queued and ends the thread. Even after an
  // interruption the complete files are put in place and counted: their
  // text is whole, and a second signal still ends the process at once.
  void Finish() {
    {
      const std::lock_guard<std::mutex> guard(m_lock);
      m_closing = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) m_thread.join();
  }

 private:
  static constexpr size_t kMaxWaiting = 8;

  void Run() {
    // A signal is for the workers, whose writes ask whether to stop; the
    // commits run to their end.
    KeepInterruptsAway();
    std::unique_lock<std::mutex> guard(m_lock);
    for (;;) {
      m_changed.wait(guard, [&] { return m_closing || !m_waiting.empty(); });
      if (m_waiting.empty()) return;
      Pending pending = std::move(m_waiting.front());
      m_waiting.pop_front();
      m_changed.notify_all();
      guard.unlock();
      Commit(pending);
      guard.lock();
    }
  }

  void Commit(Pending& pending) {
    std::string failure;
    try {
      pending.file->Commit();
    } catch (const ConverterError& error) {
      failure = ErrorLine(error);
    }
    pending.file.reset();
    m_account.Settle(*pending.movement, pending.tally,
                     failure.empty() ? Outcome::Converted : Outcome::Failed, failure);
  }

  Account& m_account;
  std::mutex m_lock;  // guards the queue and the closing flag
  std::condition_variable m_changed;
  std::deque<Pending> m_waiting;
  bool m_closing = false;
  std::thread m_thread;
};

// Converts one movement and hands its file to the committer; a movement
// that failed, or that a signal broke off, is settled at once.
void Convert(const Movement& movement, const ImportOptions& options, Account& account,
             Committer& committer) {
  // Everything this movement builds is released together when it is done,
  // for the worker's next movement to reuse.
  const xml::ArenaScope documents;
  ImportOptions reading = options;
  reading.progress = [](const std::string&, int32_t, int32_t, bool& cancel) {
    cancel = IsInterrupted();
  };
  reading.warning = [&](const std::string& text) { account.Warn(movement, text); };
  PartTally tally;
  reading.partCounted = std::bind_front(&PartTally::Count, &tally);
  std::string failure;
  std::unique_ptr<AtomicFileWriter> file;
  try {
    const ImportResult result = ImportScore(movement.files, reading);
    if (result.complete) {
      std::error_code ignored;
      fs::create_directories(movement.output.parent_path(), ignored);
      WriteOptions writing;
      writing.progress = [](int64_t, bool& cancel) { cancel = IsInterrupted(); };
      file = WriteMusicXmlPending(result.document, movement.output.string(), writing);
    } else {
      failure = "conversion stopped: " + result.stoppedAt + "; nothing written";
    }
  } catch (const ConverterError& error) {
    failure = ErrorLine(error);
  }
  if (file) {
    committer.Add({&movement, tally, std::move(file)});
    return;
  }
  account.Settle(movement, tally, IsInterrupted() ? Outcome::Stopped : Outcome::Failed, failure);
}

}  // namespace

int RunBatch(const BatchOptions& options) {
  const auto started = std::chrono::steady_clock::now();
  PassedOver passedOver;
  std::vector<Unreadable> unreadable;
  const unsigned threads =
      options.jobs ? options.jobs : std::max(1u, std::thread::hardware_concurrency());
  const std::vector<Movement> movements =
      FindMovements(options.inputFolder, options.outputFolder, threads, passedOver, unreadable);
  if (const std::string refused = RefusedOutput(movements); !refused.empty()) {
    std::fprintf(stderr, "musedata: %s\n", refused.c_str());
    return 2;
  }
  size_t skipped = 0;
  for (const auto& [folder, names] : passedOver) {
    std::string list;
    for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
    std::fprintf(stderr, "musedata: warning: %s/: passed over files without a MuseData part: %s\n",
                 folder.empty() ? "." : folder.string().c_str(), list.c_str());
    skipped += names.size();
  }

  Account account(movements, std::move(unreadable), options.progress);
  Committer committer(account);
  std::atomic<size_t> next{0};
  const auto work = [&] {
    for (size_t index = next++; index < movements.size() && !IsInterrupted(); index = next++)
      Convert(movements[index], options.import, account, committer);
  };
  const auto jobs =
      static_cast<unsigned>(std::min<size_t>(threads, std::max<size_t>(movements.size(), 1)));
  std::vector<std::thread> workers;
  for (unsigned i = 1; i < jobs; ++i) workers.emplace_back(work);
  work();
  for (std::thread& worker : workers) worker.join();
  committer.Finish();

  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  return account.Summarize(seconds, skipped, options.inputFolder);
}

}  // namespace musedata::tool
