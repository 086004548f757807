// musedata_bench_data: writes the generated MuseData parts that `make bench`
// converts, and proves that they are fit for it: the smallest part is imported
// through the library, which must finish without a warning and put every kind
// of MusicXML element that the records stand for into the score. The larger
// parts are the same music, only longer.
//
//   musedata_bench_data FOLDER [MEGABYTES...]   (default 1 10 100)
//   musedata_bench_data --corpus FOLDER MOVEMENTS
//
// The second form writes a corpus for the batch: MOVEMENTS set files of three
// generated parts each, of 8 to 60 KB a part, as published movements are.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <string>
#include <vector>

#include "musedata/musedata.h"
#include "part_generator.h"
#include "xml/node.h"
#include "xml/xpath.h"

namespace {

// What the import must make of the generated records, as XPath selections.
struct Expected {
  const char* what;
  const char* xpath;
};

constexpr Expected kExpected[] = {
    {"group of the score part", "/score-partwise/part-list/score-part/group"},
    {"comments of the header and after the end", "/score-partwise/comment()"},
    {"encoder", "//identification/encoding/encoder"},
    {"work number", "/score-partwise/work/work-number"},
    {"divisions", "//attributes/divisions"},
    // Not "//measure[position() > 1]": a position in the predicate keeps
    // libxml2 from shortening "//", and the node set of every node of a
    // 100 MB score passes its limit of ten million nodes.
    {"key change", "//attributes/key[../../preceding-sibling::measure]"},
    {"clef of the second staff", "//attributes/clef[@number='2']"},
    {"common or cut time", "//attributes/time[@symbol]"},
    {"transposition", "//attributes/transpose/octave-change"},
    {"staves", "//attributes/staves"},
    {"instruments", "//attributes/instruments"},
    {"directive", "//attributes/directive"},
    {"sounding ties", "//note/tie[@type='stop']"},
    {"accidental", "//note/accidental"},
    {"editorial accidental", "//note/accidental[@editorial='yes']"},
    {"cautionary accidental", "//note/accidental[@cautionary='yes']"},
    {"dot", "//note/dot"},
    {"time modification", "//note/time-modification/normal-notes"},
    {"stem", "//note/stem"},
    {"staff", "//note/staff"},
    {"footnote and level", "//note/footnote/following-sibling::level"},
    {"second beam level", "//note/beam[@number='2']"},
    {"beam hook", "//note/beam[.='backward hook']"},
    {"slur", "//notations/slur[@type='stop']"},
    {"printed tie", "//notations/tied[@type='stop']"},
    {"tuplet", "//notations/tuplet[@type='stop']"},
    {"ornament with its accidental", "//ornaments/accidental-mark"},
    {"wavy line", "//ornaments/wavy-line"},
    {"technical mark", "//technical/fingering[@substitution='yes']"},
    {"articulation", "//articulations/strong-accent"},
    {"fermata", "//notations/fermata[@type='inverted']"},
    {"arpeggio", "//notations/arpeggiate"},
    {"dynamics of a note", "//notations/dynamics/ff"},
    {"editorial level", "//notations/level"},
    {"chord", "//note/chord"},
    {"rest", "//note/rest"},
    {"cue note", "//note/cue"},
    {"grace note with slash", "//note/grace[@slash='yes']"},
    {"lyrics of the second verse", "//note/lyric[@number='2']/text"},
    {"lyric extension", "//lyric/extend"},
    {"words with a font change", "//direction-type/words[@font-style='italic']"},
    {"crescendo wedge", "//direction-type/wedge[@type='crescendo']"},
    {"wedge end", "//direction-type/wedge[@type='stop']"},
    {"dynamics direction", "//direction-type/dynamics/other-dynamics"},
    {"octave shift", "//direction-type/octave-shift[@size='8']"},
    {"pedal", "//direction-type/pedal"},
    {"dashes", "//direction-type/dashes"},
    {"figured bass", "//figured-bass/figure/suffix"},
    {"backup", "//measure/backup"},
    {"forward", "//measure/forward/staff"},
    {"bar style", "//barline/bar-style"},
    {"repeats", "//barline/repeat[@direction='forward']"},
    {"ending", "//barline/ending[@type='discontinue']"},
    {"fermata over a bar line", "//barline/fermata"},
    {"segno", "//barline/segno"},
    {"comment in a measure", "//measure/comment()"},
};

// Imports the part at `path` and returns what is missing from the score;
// empty when the part is fit for the benchmark.
std::vector<std::string> CheckPart(const std::string& path) {
  std::vector<std::string> problems;
  musedata::ImportOptions options;
  options.warning = [&](const std::string& text) { problems.push_back("warning: " + text); };
  const musedata::ImportResult result = musedata::ImportScore({path}, options);
  if (!result.complete) {
    problems.push_back("the import stopped: " + result.stoppedAt);
    return problems;
  }
  const musedata::xml::Node root = musedata::xml::Root(result.document);
  for (const Expected& expected : kExpected)
    if (!musedata::xml::XPath(expected.xpath).SelectFirst(root))
      problems.push_back(std::string("no ") + expected.what + " (" + expected.xpath + ")");
  return problems;
}

std::string PartPath(const std::string& folder, int megabytes) {
  return musedata::bench::GeneratedPartStem(folder, std::to_string(megabytes)) + ".md";
}

// Writes `movements` set files into `folder`: three parts each, every part
// named in the group records as the set's part n of 3.
int WriteCorpus(const std::string& folder, int movements) {
  for (int movement = 1; movement <= movements; ++movement) {
    std::string set;
    for (int part = 1; part <= 3; ++part) {
      const uint64_t seed = static_cast<uint64_t>(movement) * 3 + static_cast<uint64_t>(part);
      const size_t bytes = 8000 + static_cast<size_t>((seed * 2654435761u) % 52000);
      std::string text = musedata::bench::GeneratePart(bytes, seed).text;
      const std::string position = "part " + std::to_string(part) + " of 3";
      for (const char* group : {"score: part 1 of 1", "sound:  part 1 of 1"}) {
        const size_t at = text.find(group);
        if (at != std::string::npos)
          text.replace(at, std::string(group).size(),
                       std::string(group).substr(0, std::string(group).find("part")) + position);
      }
      set += text;
    }
    char name[32];
    std::snprintf(name, sizeof name, "/movement-%03d.msd", movement);
    std::ofstream file(folder + name, std::ios::binary);
    file.write(set.data(), static_cast<std::streamsize>(set.size()));
    if (!file.flush()) {
      std::fprintf(stderr, "musedata_bench_data: cannot write %s%s\n", folder.c_str(), name);
      return 2;
    }
  }
  std::printf("%s: %d movements of three parts\n", folder.c_str(), movements);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == "--corpus") {
    const int movements = std::atoi(argv[3]);
    if (movements <= 0) {
      std::fprintf(stderr, "musedata_bench_data: --corpus FOLDER MOVEMENTS\n");
      return 64;
    }
    return WriteCorpus(argv[2], movements);
  }
  if (argc < 2) {
    std::fprintf(stderr, "usage: musedata_bench_data FOLDER [MEGABYTES...]\n");
    return 64;
  }
  const std::string folder = argv[1];
  std::vector<int> sizes;
  for (int i = 2; i < argc; ++i) sizes.push_back(std::atoi(argv[i]));
  if (sizes.empty()) sizes = {1, 10, 100};
  try {
    int smallest = sizes.front();
    for (const int megabytes : sizes) {
      if (megabytes <= 0) {
        std::fprintf(stderr, "musedata_bench_data: sizes are whole megabytes\n");
        return 64;
      }
      smallest = std::min(smallest, megabytes);
      const musedata::bench::GeneratedPart part =
          musedata::bench::GeneratePart(static_cast<size_t>(megabytes) * 1000 * 1000);
      const std::string path = PartPath(folder, megabytes);
      std::ofstream file(path, std::ios::binary);
      file.write(part.text.data(), static_cast<std::streamsize>(part.text.size()));
      if (!file.flush()) {
        std::fprintf(stderr, "musedata_bench_data: cannot write %s\n", path.c_str());
        return 2;
      }
      std::printf("%s: %zu bytes, %lld records, %lld measures\n", path.c_str(), part.text.size(),
                  static_cast<long long>(part.records), static_cast<long long>(part.measures));
    }
    const std::vector<std::string> problems = CheckPart(PartPath(folder, smallest));
    for (const std::string& problem : problems)
      std::fprintf(stderr, "musedata_bench_data: %s: %s\n", PartPath(folder, smallest).c_str(),
                   problem.c_str());
    return problems.empty() ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "musedata_bench_data: %s\n", error.what());
    return 2;
  }
}
