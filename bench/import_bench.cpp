// Import speed: a MuseData part of many note records, generated in memory and
// loaded into a fresh engine, reported as note records per second.

#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "component/line_source.h"
#include "component/music_xml.h"

namespace {

// A bar of a two-voice texture in 3/4 with eighth-note beams, a dotted
// figure, a triplet, a chord, a rest, a tie and two verses of lyrics: the
// fields a real score fills, each record padded to its columns.
constexpr std::array<std::string_view, 10> kBar{
    "C4     2-     1 e  n  u  [        -       Glo-|Ky-",
    "C4     2      1 e     u  =                ri-",
    "E4     3      1 e. #  u  =                a|ri\\7e",
    " G4    3      1 e     u  ]",
    "Bf4    1      1 s  f  d  ]/",
    "r      4      2 q",
    "F#5    2      1 e   3 d  [        (",
    "G5     2      1 e   3 d  =",
    "A5     2      1 e   3 d  ]        )       -",
    "D4    12      2 h.    d    ",
};

std::string Header() {
  return "(C) 2026 musedata benchmarks\n"
         "\n"
         "ID: {bench/part} [1]\n"
         "01/01/26 generated\n"
         "WK#:1 MV#:1\n"
         "generated source\n"
         "Study\n"
         "Allegro\n"
         "Violino I\n"
         "0 0\n"
         "Group memberships: score\n"
         "score: part 1 of 1\n";
}

// A part of `notes` note records, a bar line after every bar.
std::string GeneratePart(int64_t notes) {
  std::string text = Header();
  text.reserve(static_cast<size_t>(notes) * 48);
  for (int64_t i = 0; i < notes; ++i) {
    text.append(kBar[static_cast<size_t>(i) % kBar.size()]).append("\n");
    if (i % kBar.size() == kBar.size() - 1) text.append("measure\n");
  }
  return text + "/END\n";
}

void ImportNoteRecords(benchmark::State& state) {
  const int64_t notes = state.range(0);
  const std::string part = GeneratePart(notes);
  for (auto _ : state) {
    state.PauseTiming();
    auto source = std::make_unique<musedata::LineSource>("bench.md", part);
    auto engine = std::make_unique<musedata::MusicXML>();
    state.ResumeTiming();
    const bool loaded = engine->Load(std::move(source));
    state.PauseTiming();
    if (!loaded) state.SkipWithError("the generated part did not load");
    engine.reset();  // freeing the document is not part of the import
    state.ResumeTiming();
  }
  state.counters["records"] = benchmark::Counter(static_cast<double>(notes * state.iterations()),
                                                 benchmark::Counter::kIsRate);
}

BENCHMARK(ImportNoteRecords)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
