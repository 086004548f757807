# The two commands of the README: `make demo` and `make test`. Both install
# the Debian build packages they need when run as root, then configure and build.

BUILD ?= build
SANITIZE_BUILD ?= build-sanitize
FUZZ_BUILD ?= build-fuzz
BENCH_BUILD ?= build-bench
BENCH_SIZES ?= 1 10 100
BENCH_RUNS ?= 3
BENCH_MOVEMENTS ?= 474
FUZZ_SECONDS ?= 60
FUZZ_TARGETS ?= import export
PREFIX ?= /usr/local
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
DEBIAN_PACKAGES := cmake g++ make libxml2-dev libxml2-utils libgtest-dev libbenchmark-dev libcli11-dev libzip-dev time \
  pkg-config pybind11-dev python3-dev python3-pytest libcpp-httplib-dev nlohmann-json3-dev chromium
FUZZ_PACKAGES := clang libclang-rt-dev
# music21 (for the tests of the music21 sub-converter) comes as a source archive
# beside the project in developers' and CI's checkouts; these are what it needs.
MUSIC21_ARCHIVE ?= ../shared/vendor/music21-10.5.0.tar.xz
MUSIC21_PACKAGES := python3-numpy python3-more-itertools python3-jsonpickle python3-chardet \
  python3-joblib python3-webcolors python3-requests
CMAKE_FLAGS ?=

.PHONY: all build deps demo test test-sanitize install bench bench-export bench-music21 fuzz format check-style clean

all: build

deps:
	@missing=""; for p in $(DEBIAN_PACKAGES) $(if $(wildcard $(MUSIC21_ARCHIVE)),$(MUSIC21_PACKAGES)); do \
	  dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" = 0 ]; then \
	    echo "Installing:$$missing"; \
	    (apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing) >/dev/null; \
	  else echo "Missing Debian packages:$$missing (run as root to install them)"; fi; fi
	@# npm installs the preview page's renderer into the build folder; a machine
	@# whose Node.js came without it gets Debian's.
	@if ! command -v npm >/dev/null && [ "$$(id -u)" = 0 ]; then \
	  (apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq npm) >/dev/null; fi

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -DMUSEDATA_MUSIC21_ARCHIVE=$(abspath $(MUSIC21_ARCHIVE)) $(CMAKE_FLAGS)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# The same tests built with AddressSanitizer, LeakSanitizer and UBSan; any report fails.
test-sanitize: deps
	cmake -S . -B $(SANITIZE_BUILD) -DCMAKE_BUILD_TYPE=Debug -DMUSEDATA_SANITIZE=ON
	cmake --build $(SANITIZE_BUILD) -j $(JOBS)
	cd $(SANITIZE_BUILD) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

demo: build
	@sh examples/demo.sh $(BUILD)

# The import and the export timed against xmllint on generated parts of BENCH_SIZES megabytes
# (written once into $(BENCH_BUILD)/data), the batch over BENCH_MOVEMENTS generated set files,
# then the in-process benchmarks.
bench: deps
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DMUSEDATA_BUILD_BENCH=ON -DMUSEDATA_BUILD_TESTS=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	@mkdir -p $(BENCH_BUILD)/data
	@missing=""; for size in $(BENCH_SIZES); do \
	  [ -f $(BENCH_BUILD)/data/part-$${size}mb.md ] || missing="$$missing $$size"; done; \
	if [ -n "$$missing" ]; then $(BENCH_BUILD)/bench/musedata_bench_data $(BENCH_BUILD)/data $$missing; fi
	$(BENCH_BUILD)/bench/musedata_bench_compare $(BENCH_BUILD)/musedata $(BENCH_BUILD)/data $(BENCH_RUNS) $(BENCH_SIZES)
	@[ -d $(BENCH_BUILD)/data/corpus ] || { mkdir -p $(BENCH_BUILD)/data/corpus && \
	  $(BENCH_BUILD)/bench/musedata_bench_data --corpus $(BENCH_BUILD)/data/corpus $(BENCH_MOVEMENTS); }
	bench/batch.sh $(BENCH_BUILD)/musedata $(BENCH_BUILD)/data/corpus $(BENCH_RUNS)
	$(BENCH_BUILD)/bench/musedata_bench --benchmark_counters_tabular=true

# What other readers make of our MuseData: every part of the MusicXML files that
# music21's source carries (LilyPond's test suite among them; unpacked into the
# build folder from MUSIC21_ARCHIVE), exported and read back by our import,
# verovio's and music21's MuseData readers.
bench-export: build
	@[ -d $(BUILD)/vendor/music21 ] || { echo "no music21 in $(BUILD)/vendor (needs $(MUSIC21_ARCHIVE))"; exit 1; }
	/usr/bin/python3 bench/export_readers.py $(BUILD)/musedata $(BUILD)/readers/node_modules \
	  $(BUILD)/vendor/music21 --music21 $(BUILD)/vendor --list

# The music21 sub-converter against music21's own MuseData reader, parsing the
# same movements (BENCH_MOVEMENTS_MUSIC21 generated set files, exported part by part).
BENCH_MOVEMENTS_MUSIC21 ?= 20
bench-music21: build
	@[ -d $(BUILD)/vendor/music21 ] || { echo "no music21 in $(BUILD)/vendor (needs $(MUSIC21_ARCHIVE))"; exit 1; }
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DMUSEDATA_BUILD_BENCH=ON -DMUSEDATA_BUILD_TESTS=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS) --target musedata_bench_data
	@[ -d $(BENCH_BUILD)/data/corpus ] || { mkdir -p $(BENCH_BUILD)/data/corpus && \
	  $(BENCH_BUILD)/bench/musedata_bench_data --corpus $(BENCH_BUILD)/data/corpus $(BENCH_MOVEMENTS); }
	PYTHONPATH=$(BUILD)/python:$(BUILD)/vendor /usr/bin/python3 bench/music21_parse.py \
	  $(BUILD)/musedata $(BENCH_BUILD)/data/corpus $(BENCH_MOVEMENTS_MUSIC21) $(BENCH_RUNS)

# Each fuzz target runs FUZZ_SECONDS over a scratch copy of its seed corpus:
# the import over fuzz/corpus (MuseData), the export over fuzz/corpus-export
# (MusicXML). Findings go to $(FUZZ_BUILD)/findings.
fuzz: deps
	@if [ "$$(id -u)" = 0 ]; then for p in $(FUZZ_PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || \
	  (apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$p >/dev/null); done; fi
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DMUSEDATA_BUILD_FUZZ=ON -DMUSEDATA_BUILD_TESTS=OFF
	cmake --build $(FUZZ_BUILD) -j $(JOBS) --target $(foreach t,$(FUZZ_TARGETS),musedata_$(t)_fuzz)
	@mkdir -p $(FUZZ_BUILD)/findings
	@for target in $(FUZZ_TARGETS); do \
	  seeds=fuzz/corpus; [ $$target = export ] && seeds=fuzz/corpus-export; \
	  rm -rf $(FUZZ_BUILD)/corpus-$$target && mkdir -p $(FUZZ_BUILD)/corpus-$$target; \
	  echo "fuzzing the $$target for $(FUZZ_SECONDS) s"; \
	  $(FUZZ_BUILD)/fuzz/musedata_$${target}_fuzz -max_total_time=$(FUZZ_SECONDS) -timeout=10 \
	    -rss_limit_mb=4096 -artifact_prefix=$(FUZZ_BUILD)/findings/$$target- -print_final_stats=1 \
	    $(FUZZ_BUILD)/corpus-$$target $$seeds || exit 1; \
	done

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

# Style checks: formatting, and no raw libxml2 types outside the XML layer.
check-style:
	@command -v clang-format >/dev/null || { [ "$$(id -u)" = 0 ] && \
	  (apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq clang-format >/dev/null); }
	clang-format --dry-run --Werror $$(git ls-files '*.cpp' '*.h')
	@if git grep -nE '\bxml(Node|Char|Doc)\b|BAD_CAST' -- src tools ':!src/xml/*'; then \
	  echo "raw libxml2 types outside src/xml/"; exit 1; fi

clean:
	rm -rf $(BUILD) $(SANITIZE_BUILD) $(FUZZ_BUILD) $(BENCH_BUILD)
