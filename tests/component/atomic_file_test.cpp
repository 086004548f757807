#include "component/atomic_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "musedata/converter_error.h"
#include "musedata/score.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

namespace fs = std::filesystem;

// Every kind of output path: what the writer makes of it, what the path is
// afterwards and what the file it leads to holds.
TEST(AtomicFile, EachKindOfOutputIsWrittenByItsRule) {
  struct Row {
    const char* name;
    std::function<std::string(const TempDir&)> prepare;  // gives the output path
    OutputKind kind;
    fs::file_type typeAfter;
    const char* readBack;  // the file holding the text
    int entries;           // in the folder afterwards
    mode_t mode;           // of the file written; 0 for any
  };
  const mode_t mask = ::umask(022);
  ::umask(mask);
  const Row rows[] = {
      {"a new file", [](const TempDir& d) { return d.Path() + "/new.xml"; }, OutputKind::Replace,
       fs::file_type::regular, "new.xml", 1, 0666 & ~mask},
      {"an existing file",
       [](const TempDir& d) {
         const std::string path = d.Write("old.xml", "old");
         ::chmod(path.c_str(), 0640);
         return path;
       },
       OutputKind::Replace, fs::file_type::regular, "old.xml", 1, 0640},
      {"a link to a name not made yet",
       [](const TempDir& d) {
         fs::create_symlink("later.xml", d.Path() + "/link.xml");
         return d.Path() + "/link.xml";
       },
       OutputKind::Replace, fs::file_type::symlink, "later.xml", 2, 0},
      {"the process's own descriptor",
       [](const TempDir& d) {
         const int fd = ::open((d.Path() + "/opened.xml").c_str(), O_WRONLY | O_CREAT, 0644);
         return "/proc/self/fd/" + std::to_string(fd);
       },
       OutputKind::Direct, fs::file_type::symlink, "opened.xml", 1, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const TempDir dir;
    const std::string path = row.prepare(dir);
    AtomicFileWriter writer(path);
    EXPECT_EQ(writer.Kind(), row.kind);
    writer.Write("<score/>");
    EXPECT_TRUE(writer.Commit());
    EXPECT_EQ(fs::symlink_status(path).type(), row.typeAfter);
    EXPECT_EQ(ReadFile(dir.Path() + "/" + row.readBack), "<score/>");
    EXPECT_EQ(EntriesIn(dir.Path()), row.entries);
    if (row.mode != 0) {
      EXPECT_EQ(fs::status(path).permissions(), fs::perms(row.mode));
    }
    if (path.starts_with("/proc/self/fd/")) ::close(std::stoi(path.substr(14)));
  }
}

TEST(AtomicFile, FailedOrCancelledWritesLeaveTheTargetAlone) {
  const TempDir dir;
  const std::string target = dir.Write("score.musicxml", "old\n");
  {
    AtomicFileWriter writer(target);
    writer.Progress = [](int64_t written, bool& cancel) { cancel = written > 100'000; };
    for (int i = 0; i < 100 && writer.Append(std::string(10'000, 'x')); ++i) {
    }
    EXPECT_TRUE(writer.Cancelled());
    EXPECT_FALSE(writer.Commit());
  }
  {
    AtomicFileWriter writer(target);
    writer.Write("new");
    RemovePartialOutputs();  // as a signal handler would, before the commit
    EXPECT_EQ(EntriesIn(dir.Path()), 1);
  }
  EXPECT_EQ(ReadFile(target), "old\n");
  EXPECT_EQ(EntriesIn(dir.Path()), 1);

  for (const std::string& path : {dir.Path() + "/missing/part.md", dir.Path()}) {
    const std::string error = ErrorOf([&] { AtomicFileWriter writer(path); });
    EXPECT_EQ(error.substr(0, 4), "#75 ");
    EXPECT_NE(error.find("cannot write " + path + ": "), std::string::npos) << error;
  }
}

// A completed file waits beside the target: only Commit puts it in place,
// and a writer dropped after Complete leaves the target and the folder as
// they were. Progress is not asked again once the text is complete.
TEST(AtomicFile, CompletedFilesReplaceTheTargetOnlyOnCommit) {
  const TempDir dir;
  const std::string target = dir.Write("score.musicxml", "old\n");
  {
    AtomicFileWriter writer(target);
    writer.Write("dropped\n");
    ASSERT_TRUE(writer.Complete());
    EXPECT_EQ(ReadFile(target), "old\n");
    EXPECT_EQ(EntriesIn(dir.Path()), 2);
  }
  EXPECT_EQ(ReadFile(target), "old\n");
  EXPECT_EQ(EntriesIn(dir.Path()), 1);

  AtomicFileWriter writer(target);
  writer.Write("new\n");
  ASSERT_TRUE(writer.Complete());
  writer.Progress = [](int64_t, bool& cancel) { cancel = true; };
  EXPECT_EQ(ReadFile(target), "old\n");
  EXPECT_TRUE(writer.Commit());
  EXPECT_EQ(ReadFile(target), "new\n");
  EXPECT_EQ(EntriesIn(dir.Path()), 1);
}

}  // namespace
}  // namespace musedata::test
