# Thin wrapper over the CMake presets.
JOBS ?= $(shell nproc)

.PHONY: all test asan bench demo fuzz format clean

all:
	cmake --preset release
	cmake --build --preset release -j $(JOBS)

test: all
	ctest --preset release

asan:
	cmake --preset asan
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan

bench: all
	@for b in build/release/bench/bench_*; do echo "== $$b"; $$b --benchmark_min_time=0.2; done

# Runs each fuzz target for FUZZ_SECONDS on a copy of its corpus under build/fuzz; what it finds
# goes to build/fuzz/found/<target>/. Without clang, make test replays the corpora instead.
FUZZ_SECONDS ?= 60
FUZZ_TARGETS = fuzz_transfer fuzz_tiles fuzz_canvas

fuzz:
	@command -v clang++ >/dev/null || { echo "make fuzz needs clang++ with libFuzzer"; exit 1; }
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)
	@for t in $(FUZZ_TARGETS); do \
	  mkdir -p build/fuzz/corpus/$$t build/fuzz/found/$$t; \
	  echo "== $$t for $(FUZZ_SECONDS) s"; \
	  build/fuzz/fuzz/$$t -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 -close_fd_mask=1 \
	    -artifact_prefix=build/fuzz/found/$$t/ build/fuzz/corpus/$$t fuzz/corpus/$$t || exit 1; \
	done

demo: all
	build/release/tools/pigment_demo

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
