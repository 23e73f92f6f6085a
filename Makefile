# The README's commands. Everything else goes through the CMake presets.
SHELL := /bin/bash
PRESET ?= release
JOBS ?= 2
# WERROR=ON treats warnings as errors (CI does; the dev preset always does).
WERROR ?=
CONFIGURE_FLAGS := $(if $(WERROR),-DTW_WERROR=$(WERROR))
# What the benchmarks compare against, from Debian's packages.
BENCH_PACKAGES := libbenchmark-dev rapidjson-dev nlohmann-json3-dev libmimalloc-dev

.PHONY: test demo build bench check-deep clean js-deps viewer gltf-check viewer-test truth-check fuzz-scenes

# Configures quietly but for what a user should know: benchmarks left out
# for want of their peers, and how the 32-bit tests run.
build:
	@set -o pipefail; cmake --preset $(PRESET) $(CONFIGURE_FLAGS) | { grep -E '^-- (benchmarks|32-bit)' || true; }
	cmake --build --preset $(PRESET) -j $(JOBS)

test: build
	ctest --preset $(PRESET) -j $(JOBS) --no-tests=error

# Exports the demo character through the plug-in running in mayasim, then
# summarises what was written. Builds only what the demo needs.
demo:
	@set -o pipefail; cmake --preset $(PRESET) $(CONFIGURE_FLAGS) | { grep -E '^-- (benchmarks|32-bit)' || true; }
	cmake --build --preset $(PRESET) -j $(JOBS) --target twi twi-export
	./build/$(PRESET)/tools/twi-export demo:character -o demo.twi
	./build/$(PRESET)/tools/twi info demo.twi

# Installs the benchmarks' peers when they are missing (as root, through
# apt-get), builds every benchmark and runs them. They take a few minutes.
bench:
	@missing=""; for p in $(BENCH_PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  echo "installing the benchmarks' peers:$$missing"; \
	  if [ "$$(id -u)" = 0 ]; then apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing >/dev/null; \
	  else sudo apt-get update -qq && sudo DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing >/dev/null; fi \
	fi
	cmake --preset release >/dev/null
	cmake --build --preset release -j $(JOBS) --target bench_memory bench_sjson bench_export bench_maya_ascii bench_scale
	./build/release/bench/bench_memory
	./build/release/bench/bench_sjson
	./build/release/bench/bench_export
	./build/release/bench/bench_maya_ascii
	./build/release/bench/bench_scale

# The JavaScript side, from npm: three.js for the viewer page, the Khronos
# glTF validator, and what the viewer's browser test drives Chromium with.
js-deps:
	@command -v npm >/dev/null || { echo "this needs Node.js and npm (apt-get install nodejs npm)"; exit 1; }
	@if [ ! -f tools/node_modules/.package-lock.json ] || [ tools/package-lock.json -nt tools/node_modules/.package-lock.json ]; then \
	  echo "npm ci in tools/"; cd tools && npm ci --no-audit --no-fund --loglevel=error; fi

# The viewer page with three.js beside it, and twi to serve it (twi view).
viewer: js-deps
	@cmake --preset $(PRESET) | { grep -E '^-- viewer' || true; }
	cmake --build --preset $(PRESET) -j $(JOBS) --target twi twi-export viewer

# Every demo scene and Maya ASCII scene through twi gltf and the validator.
gltf-check: viewer
	tools/validate-gltf.sh build/$(PRESET)

# The viewer in headless Chromium (installed through apt-get when missing).
viewer-test: gltf-check
	@if [ ! -x "$${CHROMIUM:-/usr/bin/chromium}" ]; then \
	  echo "installing chromium"; \
	  if [ "$$(id -u)" = 0 ]; then apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq chromium >/dev/null; \
	  else sudo apt-get update -qq && sudo DEBIAN_FRONTEND=noninteractive apt-get install -y -qq chromium >/dev/null; fi \
	fi
	node tools/viewer/viewer_test.mjs build/$(PRESET)/tools/twi build/$(PRESET)/gltf-validation build/$(PRESET)/viewer-screenshots

# Every scene of the shared truth collection exported and compared, triangle
# by triangle, with what an exporter running inside real Maya wrote from it.
truth-check: build
	ctest --preset $(PRESET) --output-on-failure --no-tests=error -R '^Truth[.]' -V | grep -E 'differences|Passed|Failed|tests passed'

check-deep:
	./.ci/check-deep

# The Maya ASCII fuzz target (loader, reads and the whole export) for
# FUZZ_SECONDS (default ten minutes), seeded with every Maya ASCII scene of
# the shared test data and the project's own seeds; what it finds goes to
# build/fuzz/findings. Needs clang with libFuzzer (the fuzz preset).
FUZZ_SECONDS ?= 600
SHARED_TESTDATA ?= ../shared/testdata
fuzz-scenes:
	cmake --preset fuzz >/dev/null
	cmake --build --preset fuzz -j $(JOBS) --target fuzz_maya_ascii
	@rm -rf build/fuzz/scenes-corpus && mkdir -p build/fuzz/scenes-corpus build/fuzz/findings
	@find $(SHARED_TESTDATA) -name '*.ma' -exec cp {} build/fuzz/scenes-corpus/ \;
	@echo "seeds: $$(ls build/fuzz/scenes-corpus | wc -l) shared scenes and fuzz/corpus/fuzz_maya_ascii"
	./build/fuzz/fuzz/fuzz_maya_ascii -max_total_time=$(FUZZ_SECONDS) -max_len=4194304 -timeout=60 \
	  -rss_limit_mb=4096 -print_final_stats=1 -artifact_prefix=build/fuzz/findings/ \
	  build/fuzz/scenes-corpus fuzz/corpus/fuzz_maya_ascii

clean:
	rm -rf build
