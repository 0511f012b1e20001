# make run    installs what is missing, builds, starts Wendle
# make test   installs what the tests need, builds, runs every test
# make bench  runs the benchmarks and prints their figures
# make fuzz   builds the fuzzers (make test runs each for a few seconds)

BUILD   ?= build
JOBS    ?= $(shell nproc 2>/dev/null || sysctl -n hw.ncpu 2>/dev/null || echo 2)
CMAKE_FLAGS ?=

.PHONY: all deps test-deps configure build run test bench fuzz format clean

all: build

deps:
	@scripts/install-deps

test-deps:
	@scripts/install-deps --test

configure:
	@[ -f $(BUILD)/build.ninja ] || cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)

build: deps configure
	@cmake --build $(BUILD) --parallel $(JOBS)

run: build
	$(BUILD)/src/app/wendle

test: test-deps configure
	@cmake --build $(BUILD) --parallel $(JOBS)
	ctest --test-dir $(BUILD) --output-on-failure --parallel $(JOBS) --timeout 600

bench: test-deps configure
	@cmake --build $(BUILD) --parallel $(JOBS)
	cmake --build $(BUILD) --target bench

fuzz: test-deps configure
	@cmake --build $(BUILD) --target fuzz

format:
	@git ls-files '*.cpp' '*.h' '*.mm' | xargs clang-format -i

clean:
	rm -rf $(BUILD)
