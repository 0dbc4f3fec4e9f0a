# Thin wrapper over the CMake presets.
JOBS ?= $(shell nproc)

.PHONY: all test asan bench demo format clean

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

demo: all
	build/release/tools/pigment_demo

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
