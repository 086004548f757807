// Where the tool writes, and what it never destroys: devices, links, inputs,
// good outputs when a signal, a full disk or an unreadable folder intervenes.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <map>
#include <thread>

#include "support/test_support.h"

namespace musedata::test {
namespace {

namespace fs = std::filesystem;

// Temporary files that a write left in `folder` or below it.
std::vector<std::string> Temporaries(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    if (entry.path().filename().string().starts_with(".")) names.push_back(entry.path());
  return names;
}

// A part of `measures` measures, large enough to keep the tool busy.
std::string LongPart(int measures) {
  std::vector<std::string> records = {"$ K:1 Q:4 T:3/4 C:4"};
  for (int m = 2; m <= measures; ++m) {
    records.push_back("C5     4        q     d        .");
    records.push_back("D5     2        e     d  [     (");
    records.push_back("E5     2        e     d  ]     )");
    records.push_back("F#5    4        q #   d");
    records.push_back("measure " + std::to_string(m));
  }
  return Part(records);
}

bool IsWholeScore(const std::string& xml) {
  return xml.starts_with("<?xml ") && xml.ends_with("</score-partwise>\n");
}

TEST(OutputTool, EveryKindOfOutputIsWrittenAndStaysWhatItWas) {
  const TempDir folder;
  folder.Write("a.md", Part({"$ K:1 Q:4 T:3/4 C:4", "C5     4        q     d"}));
  const std::string score = RunTool(folder.Path(), "import a.md").out;
  ASSERT_TRUE(IsWholeScore(score));
  const bool root = ::geteuid() == 0;
  if (root) {
    // A null device of the test's own, never the machine's.
    ASSERT_EQ(::mknod((folder.Path() + "/null").c_str(), S_IFCHR | 0666, ::makedev(1, 3)), 0);
  }
  ASSERT_EQ(::mkfifo((folder.Path() + "/fifo").c_str(), 0600), 0);
  fs::create_symlink("real.xml", folder.Path() + "/link.xml");
  const struct {
    const char* script;
    std::string out;  // standard output, then "|" and the file read back
    const char* node;
    fs::file_type type;
  } rows[] = {
      {"$TOOL import a.md -o -", score, "a.md", fs::file_type::regular},
      {"$TOOL import a.md -o new.xml && cat new.xml", score, "new.xml", fs::file_type::regular},
      {"$TOOL import a.md -o /dev/stdout | head -c 100", score.substr(0, 100), "a.md",
       fs::file_type::regular},
      {"cat fifo > got & $TOOL import a.md -o fifo; wait; cat got", score, "fifo",
       fs::file_type::fifo},
      {"$TOOL import a.md -o link.xml && cat real.xml", score, "link.xml", fs::file_type::symlink},
      {"$TOOL import a.md -o null && test -c null", "", "null", fs::file_type::character},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.script);
    if (!root && row.type == fs::file_type::character) continue;
    const ToolRun run = RunScript(folder.Path(), row.script);
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, row.out);
    EXPECT_EQ(fs::symlink_status(folder.Path() + "/" + row.node).type(), row.type);
    EXPECT_EQ(Temporaries(folder.Path()), std::vector<std::string>());
  }
  if (!root) GTEST_SKIP() << "the device row needs root to make a device node";
}

// An output that is one of the inputs, by any name, is refused before any work.
TEST(OutputTool, OutputsThatWouldOverwriteAnInputAreRefused) {
  const TempDir folder;
  const std::string part = Part({"@ violin", "$  Q:1"});
  folder.Write("in/a.md", part);
  fs::create_symlink("a.md", folder.Path() + "/in/link.md");
  fs::create_hard_link(folder.Path() + "/in/a.md", folder.Path() + "/in/hard.md");
  fs::create_directories(folder.Path() + "/out");
  fs::create_symlink("../in/a.md", folder.Path() + "/out/in.musicxml");
  for (const char* arguments :
       {"in/a.md -o in/a.md", "./in/a.md -o in/../in/a.md", "in/a.md -o in/link.md",
        "in/hard.md -o in/a.md", "in -o in/link.md", "--batch in -o out"}) {
    SCOPED_TRACE(arguments);
    const ToolRun run = RunTool(folder.Path(), std::string("import ") + arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find("would overwrite the input "), std::string::npos) << run.err;
    EXPECT_EQ(ReadFile(folder.Path() + "/in/a.md"), part);
  }
}

// A write that fails, on a full disk or a full standard output, is one
// message naming the file, with status 2 and no file left behind or spoilt.
TEST(OutputTool, WriteErrorsNameTheFileAndSpoilNothing) {
  const TempDir folder;
  folder.Write("long.md", LongPart(2000));
  const ToolRun full = RunScript(folder.Path(), "$TOOL import long.md > /dev/full");
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err,
            "musedata: error 0x0000004B (musedata): Path/File access error: cannot write "
            "standard output: No space left on device\n");

  if (::geteuid() != 0) GTEST_SKIP() << "mounting a small disk needs root";
  const std::string disk = folder.Path() + "/disk";
  fs::create_directories(disk);
  if (::mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=256k") != 0)
    GTEST_SKIP() << "cannot mount a tmpfs here: " << std::strerror(errno);
  struct Unmount {
    std::string path;
    ~Unmount() { ::umount2(path.c_str(), MNT_DETACH); }
  } unmount{disk};
  folder.Write("disk/score.xml", "a good score");
  const ToolRun run = RunTool(folder.Path(), "import long.md -o disk/score.xml");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "musedata: error 0x0000004B (musedata): Path/File access error: cannot write "
            "disk/score.xml: No space left on device\n");
  EXPECT_EQ(ReadFile(disk + "/score.xml"), "a good score");
  EXPECT_EQ(EntriesIn(disk), 1);
}

// Runs the tool with `arguments` in `where` and sends `signals` once `ready`,
// shown the tool's standard error so far, says the moment has come; returns
// the exit status and standard error.
ToolRun Interrupt(const std::string& where, std::vector<std::string> arguments,
                  const std::function<bool(const std::string&)>& ready,
                  const std::vector<int>& signals) {
  const TempDir scratch;
  const std::string err = scratch.Path() + "/err";
  arguments.insert(arguments.begin(), MUSEDATA_TOOL);
  const pid_t child = ::fork();
  if (child == 0) {
    ::chdir(where.c_str());
    const int fd = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ::dup2(fd, STDERR_FILENO);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!ready(ReadFile(err)) && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  for (const int number : signals) ::kill(child, number);
  int raw = 0;
  ::waitpid(child, &raw, 0);
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, "", ReadFile(err)};
}

TEST(OutputTool, SignalsStopTheConversionAndLeaveNoPartialFile) {
  const TempDir folder;
  folder.Write("long.md", LongPart(4000));
  const auto writing = [&](const std::string&) { return !Temporaries(folder.Path()).empty(); };
  // The progress bar's first percentage says the input is being read.
  const auto reading = [](const std::string& err) { return err.find('%') != std::string::npos; };
  const struct {
    const char* name;
    std::vector<int> signals;
    bool whileWriting;
    int status;
  } rows[] = {
      {"SIGTERM while writing", {SIGTERM}, true, 143},
      {"SIGINT twice while writing", {SIGINT, SIGINT}, true, 130},
      {"SIGHUP while reading", {SIGHUP}, false, 129},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    folder.Write("score.xml", "a good score");
    const ToolRun run = Interrupt(
        folder.Path(), {"import", "--progress", "long.md", "-o", "score.xml"},
        row.whileWriting ? std::function<bool(const std::string&)>(writing) : reading, row.signals);
    EXPECT_EQ(run.status, row.status) << run.err;
    EXPECT_EQ(Temporaries(folder.Path()), std::vector<std::string>());
    const std::string kept = ReadFile(folder.Path() + "/score.xml");
    EXPECT_TRUE(kept == "a good score" || IsWholeScore(kept)) << kept.substr(0, 100);
  }
}

// The batch puts each file in place while its workers go on converting: the
// summary counts exactly the files in place, whole and as a single import
// writes them, and no temporary file is left, whether the batch ends or a
// signal breaks it off, with one worker or two. Short movements finish
// faster than the disk takes them in, so files still wait to be put in place
// when the signal comes, early on, and when the last worker is done.
TEST(OutputTool, BatchCountsExactlyTheFilesPutInPlace) {
  const TempDir folder;
  constexpr int kMovements = 12;
  std::map<std::string, std::string> expected;  // by movement
  for (int m = 1; m <= kMovements; ++m) {
    const std::string movement = "m" + std::to_string(m);
    folder.Write("in/" + movement + "/part.md", LongPart(m >= 6 && m <= 8 ? 1500 : 3));
    expected[movement] = RunTool(folder.Path(), "import in/" + movement).out;
  }
  const auto placed = [&] {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.Path() + "/out"))
      if (!entry.path().filename().string().starts_with(".")) names.push_back(entry.path());
    return names;
  };
  for (const char* jobs : {"1", "2"}) {
    for (const bool interrupted : {false, true}) {
      SCOPED_TRACE(std::string("-j ") + jobs + (interrupted ? ", interrupted" : ""));
      fs::remove_all(folder.Path() + "/out");
      fs::create_directories(folder.Path() + "/out");
      const std::vector<std::string> arguments = {"import", "--batch", "in", "-o",
                                                  "out",    "-j",      jobs};
      const ToolRun run =
          interrupted ? Interrupt(folder.Path(), arguments,
                                  [&](const std::string&) { return !placed().empty(); }, {SIGINT})
                      : RunTool(folder.Path(), "import --batch in -o out -j " + std::string(jobs));
      EXPECT_EQ(run.status, interrupted ? 130 : 0) << run.err;
      const std::vector<std::string> files = placed();
      if (!interrupted) {
        EXPECT_EQ(files.size(), size_t{kMovements});
      } else {
        EXPECT_NE(run.err.find(" before SIGINT interrupted the batch"), std::string::npos);
      }
      EXPECT_NE(run.err.find("converted " + std::to_string(files.size()) + " of " +
                             std::to_string(kMovements) + " movements"),
                std::string::npos)
          << run.err;
      EXPECT_EQ(Temporaries(folder.Path() + "/out"), std::vector<std::string>());
      for (const std::string& file : files)
        EXPECT_EQ(ReadFile(file), expected[fs::path(file).stem().string()]) << file;
    }
  }
}

// What cannot be read is named, counted as failed, and the walk goes on.
TEST(OutputTool, UnreadableFoldersAndFilesAreNamed) {
  std::string as;  // runs the tool as a user without rights to what is locked
  if (::geteuid() == 0) {
    if (!fs::exists("/usr/bin/setpriv") || RunScript("/", "id nobody").status != 0)
      GTEST_SKIP() << "running as root without setpriv or the user nobody to drop rights";
    as = "setpriv --reuid=nobody --regid=nogroup --clear-groups ";
  }
  const TempDir folder;
  fs::permissions(folder.Path(), fs::perms::all);
  for (const std::string movement : {"one", "two", "three", "four"})
    folder.Write("in/" + movement + "/part.md", Part({"@ " + movement, "$  Q:1"}));
  fs::create_directories(folder.Path() + "/out");
  fs::permissions(folder.Path() + "/out", fs::perms::all);
  struct Lock {
    std::string path;
    Lock(std::string p) : path(std::move(p)) { fs::permissions(path, fs::perms::none); }
    ~Lock() { fs::permissions(path, fs::perms::owner_all); }
  };
  const Lock folderLock(folder.Path() + "/in/two");
  const Lock fileLock(folder.Path() + "/in/four/part.md");

  const ToolRun batch = RunScript(folder.Path(), as + "$TOOL import --batch in -o out");
  EXPECT_EQ(batch.status, 2);
  for (const char* line :
       {"converted 2 of 4 movements", "two/: cannot be read: Permission denied\n",
        "four/part.md: cannot be read: Permission denied\n"})
    EXPECT_NE(batch.err.find(line), std::string::npos) << batch.err;
  EXPECT_TRUE(fs::exists(folder.Path() + "/out/three.musicxml"));

  for (const auto& [input, message] :
       {std::pair{"in/four/part.md",
                  "error 0x80041778 (Verdantix): in/four/part.md: MuseData Load error 75: "
                  "Path/File access error\n"},
        std::pair{"in/two",
                  "error 0x0000004B (musedata): Path/File access error: cannot read the "
                  "folder in/two: Permission denied\n"}}) {
    const ToolRun run = RunScript(folder.Path(), as + "$TOOL import " + input);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, std::string("musedata: ") + message);
  }
}
}  // namespace
}  // namespace musedata::test
