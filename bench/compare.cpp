// musedata_bench_compare: times the tool against a yardstick, both ways. For
// each generated part it runs `musedata import PART -o PART.musicxml`, then
// `musedata export PART.musicxml -o PART.export.md` (the same MusicXML back
// to MuseData), and `xmllint --format` on that MusicXML (parse, build the
// tree, write it indented: the same kind of work on a document of the same
// size), several times in turn, and prints the minimum wall-clock time, CPU
// time, peak resident memory and minor page faults of each, their ratios to
// xmllint, and the time per megabyte from the smallest part to the largest.
//
//   musedata_bench_compare TOOL FOLDER RUNS MEGABYTES...

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "part_generator.h"

namespace {

struct Measured {
  double seconds = std::numeric_limits<double>::max();     // wall clock
  double cpuSeconds = std::numeric_limits<double>::max();  // user and system time
  double peakMegabytes = std::numeric_limits<double>::max();
  // Pages first touched: building a tree of small nodes is mostly this.
  long long minorFaults = std::numeric_limits<long long>::max();

  // Keeps the least of each: other work on the machine only ever adds to them.
  void KeepBest(const Measured& run) {
    seconds = std::min(seconds, run.seconds);
    cpuSeconds = std::min(cpuSeconds, run.cpuSeconds);
    peakMegabytes = std::min(peakMegabytes, run.peakMegabytes);
    minorFaults = std::min(minorFaults, run.minorFaults);
  }
};

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Runs `arguments` with standard output and standard error going to
// `errorsPath`, and returns its wall-clock time and peak resident memory.
// Exits the driver when the program fails or says anything.
Measured RunOnce(const std::vector<std::string>& arguments, const std::string& errorsPath) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child < 0) {
    std::perror("musedata_bench_compare: fork");
    std::exit(2);
  }
  if (child == 0) {
    const int errors = open(errorsPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (errors >= 0) {
      dup2(errors, STDOUT_FILENO);
      dup2(errors, STDERR_FILENO);
    }
    execvp(argv[0], argv.data());
    std::perror(argv[0]);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child) {
    std::perror("musedata_bench_compare: wait4");
    std::exit(2);
  }
  const auto end = std::chrono::steady_clock::now();
  struct stat errors {};
  const bool quiet = stat(errorsPath.c_str(), &errors) == 0 && errors.st_size == 0;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || !quiet) {
    std::fprintf(stderr, "musedata_bench_compare: %s failed (status %d); see %s\n",
                 arguments[0].c_str(), WIFEXITED(status) ? WEXITSTATUS(status) : -1,
                 errorsPath.c_str());
    std::exit(1);
  }
  Measured measured;
  measured.seconds = std::chrono::duration<double>(end - start).count();
  measured.cpuSeconds = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  measured.peakMegabytes = static_cast<double>(usage.ru_maxrss) / 1024.0;  // ru_maxrss is in KiB
  measured.minorFaults = usage.ru_minflt;
  return measured;
}

// Logical records: every line but the continuation lines, which start with "a".
long long CountRecords(const std::string& path, double& megabytes) {
  std::ifstream file(path, std::ios::binary);
  long long records = 0;
  long long bytes = 0;
  for (std::string line; std::getline(file, line);) {
    bytes += static_cast<long long>(line.size()) + 1;
    if (line.empty() || line.front() != 'a') ++records;
  }
  megabytes = static_cast<double>(bytes) / 1e6;
  return records;
}

// One direction's figures over every size, printed once all sizes are done.
struct Direction {
  Direction(const char* directionName, double timeTarget, double memoryTarget)
      : name(directionName), timeTarget(timeTarget), memoryTarget(memoryTarget) {}

  const char* name;     // "import" or "export"
  double timeTarget;    // the ratio to xmllint's time to stay under
  double memoryTarget;  // and to its peak memory
  std::vector<std::string> rows;
  std::vector<std::string> cpuRows;
  std::vector<double> secondsPerMegabyte;
  std::vector<double> cpuSecondsPerMegabyte;
  double worstTimeRatio = 0;
  double worstMemoryRatio = 0;

  // Adds one size: `megabytes` of input, `records` MuseData records.
  void Add(double megabytes, long long records, const Measured& run, const Measured& lint) {
    const double timeRatio = run.seconds / lint.seconds;
    const double memoryRatio = run.peakMegabytes / lint.peakMegabytes;
    worstTimeRatio = std::max(worstTimeRatio, timeRatio);
    worstMemoryRatio = std::max(worstMemoryRatio, memoryRatio);
    secondsPerMegabyte.push_back(run.seconds / megabytes);
    cpuSecondsPerMegabyte.push_back(run.cpuSeconds / megabytes);
    char row[160];
    std::snprintf(row, sizeof row, "%8.1f %9lld %9.3f %7.2f %10.0f %9.1f %9.3f %10.1f %6.2f %6.2f",
                  megabytes, records, run.seconds, megabytes / run.seconds,
                  static_cast<double>(records) / run.seconds, run.peakMegabytes, lint.seconds,
                  lint.peakMegabytes, timeRatio, memoryRatio);
    rows.emplace_back(row);
    std::snprintf(row, sizeof row, "%8.1f %12.3f %13.3f %6.2f %12lld %14lld", megabytes,
                  run.cpuSeconds, lint.cpuSeconds, run.cpuSeconds / lint.cpuSeconds,
                  run.minorFaults, lint.minorFaults);
    cpuRows.emplace_back(row);
  }

  void Print() const {
    std::printf("\n%s (size = megabytes read: MuseData for the import, MusicXML for the export)\n",
                name);
    std::printf("%8s %9s %9s %7s %10s %9s %9s %9s %6s %6s\n", "size MB", "records", "seconds",
                "MB/s", "records/s", "peak MB", "xmllint s", "xmllint MB", "time x", "mem x");
    for (const std::string& row : rows) std::printf("%s\n", row.c_str());
    std::printf("CPU time (user and system), less disturbed by other work on the machine:\n");
    std::printf("%8s %12s %13s %6s %12s %14s\n", "size MB", "cpu s", "xmllint cpu s", "cpu x",
                "minor faults", "xmllint faults");
    for (const std::string& row : cpuRows) std::printf("%s\n", row.c_str());
    std::printf("per MB, wall:");
    for (const double seconds : secondsPerMegabyte) std::printf(" %.4f s", seconds);
    std::printf(" (largest / smallest %.2f)\n",
                secondsPerMegabyte.back() / secondsPerMegabyte.front());
    std::printf("per MB, CPU: ");
    for (const double seconds : cpuSecondsPerMegabyte) std::printf(" %.4f s", seconds);
    std::printf(" (largest / smallest %.2f)\n",
                cpuSecondsPerMegabyte.back() / cpuSecondsPerMegabyte.front());
    std::printf(
        "%s: worst time ratio %.2f, worst memory ratio %.2f: %s\n", name, worstTimeRatio,
        worstMemoryRatio,
        worstTimeRatio <= timeTarget && worstMemoryRatio <= memoryTarget ? "met" : "missed");
  }
};

double FileMegabytes(const std::string& path) {
  struct stat file {};
  return stat(path.c_str(), &file) == 0 ? static_cast<double>(file.st_size) / 1e6 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) {
    std::fprintf(stderr, "usage: musedata_bench_compare TOOL FOLDER RUNS MEGABYTES...\n");
    return 64;
  }
  const std::string tool = argv[1];
  const std::string folder = argv[2];
  const int runs = std::max(1, std::atoi(argv[3]));

  std::printf(
      "Minimum over %d runs each, the import, the export and xmllint taking turns;\n"
      "wall clock; peak = maximum resident set size; xmllint formats the MusicXML.\n",
      runs);
  Direction import("import", 0.5, 1.1);
  Direction exportBack("export", 1.5, 1.5);
  for (int i = 4; i < argc; ++i) {
    const std::string stem = musedata::bench::GeneratedPartStem(folder, argv[i]);
    const std::string input = stem + ".md";
    const std::string output = stem + ".musicxml";
    double megabytes = 0;
    const long long records = CountRecords(input, megabytes);
    if (records == 0) {
      std::fprintf(stderr, "musedata_bench_compare: %s is missing or empty\n", input.c_str());
      return 1;
    }
    // Taking turns exposes every program to the same load from elsewhere.
    Measured importRun;
    Measured exportRun;
    Measured lint;
    for (int run = 0; run < runs; ++run) {
      importRun.KeepBest(
          RunOnce({tool, "import", "--no-progress", "--memory-limit", "0", "-o", output, input},
                  stem + ".import.log"));
      exportRun.KeepBest(
          RunOnce({tool, "export", "--no-progress", "-o", stem + ".export.md", output},
                  stem + ".export.log"));
      lint.KeepBest(RunOnce(
          {"xmllint", "--nonet", "--format", "--output", stem + ".xmllint.musicxml", output},
          stem + ".xmllint.log"));
    }
    import.Add(megabytes, records, importRun, lint);
    exportBack.Add(FileMegabytes(output), records, exportRun, lint);
    std::printf("%s MB done\n", argv[i]);
    std::fflush(stdout);
  }
  import.Print();
  exportBack.Print();
  std::printf(
      "\ntargets: the import at most 0.5 x xmllint's time and 1.1 x its memory, the export at "
      "most 1.5 x both; time linear in the size\n");
  return 0;
}
