// Import speed in process: a generated MuseData part that holds every record
// type, loaded from memory into a fresh engine, reported as records per second.
// The end-to-end comparison with xmllint is musedata_bench_compare's.

#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <string>

#include "component/line_source.h"
#include "component/music_xml.h"
#include "part_generator.h"
#include "xml/node.h"

namespace {

const musedata::bench::GeneratedPart& Part(int64_t megabytes) {
  static std::map<int64_t, musedata::bench::GeneratedPart> parts;
  auto found = parts.find(megabytes);
  if (found == parts.end())
    found = parts
                .emplace(megabytes, musedata::bench::GeneratePart(static_cast<size_t>(megabytes) *
                                                                  1000 * 1000))
                .first;
  return found->second;
}

// Reading the records and building the score; freeing it is not counted.
void ImportRecords(benchmark::State& state) {
  const musedata::bench::GeneratedPart& part = Part(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    auto source = std::make_unique<musedata::LineSource>("bench.md", part.text);
    auto engine = std::make_unique<musedata::MusicXML>();
    engine->Warning = [](const std::string&) {};
    state.ResumeTiming();
    const bool loaded = engine->Load(std::move(source));
    state.PauseTiming();
    if (!loaded) state.SkipWithError("the generated part did not load");
    engine.reset();
    state.ResumeTiming();
  }
  state.counters["records"] = benchmark::Counter(
      static_cast<double>(part.records * state.iterations()), benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<int64_t>(part.text.size()) * state.iterations());
}

// Writing the finished score as indented MusicXML text.
void SerialiseScore(benchmark::State& state) {
  const musedata::bench::GeneratedPart& part = Part(state.range(0));
  musedata::MusicXML engine;
  engine.Warning = [](const std::string&) {};
  if (!engine.Load(std::make_unique<musedata::LineSource>("bench.md", part.text))) {
    state.SkipWithError("the generated part did not load");
    return;
  }
  const musedata::Document document = engine.XML();
  size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = musedata::xml::ToIndentedString(document);
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
}

BENCHMARK(ImportRecords)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(SerialiseScore)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
