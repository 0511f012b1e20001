# make run            installs what is missing, builds the program, starts Wendle
# make test           installs what the tests need, builds everything, runs every test
# make bench          runs the benchmarks and prints their figures
# make fuzz           builds the fuzzers (make test runs each for a few seconds)
# make package        builds a Debian package (build/wendle_<version>_<arch>.deb)
# make package-check  installs that package into a fresh Debian root and upgrades it
# make install-user   installs into ~/.local, no root needed; make uninstall-user removes it

BUILD   ?= build
JOBS    ?= $(shell nproc 2>/dev/null || sysctl -n hw.ncpu 2>/dev/null || echo 2)
CMAKE_FLAGS ?=

.PHONY: all deps test-deps configure build program run test bench fuzz package package-check \
	install-user uninstall-user format clean

all: build

deps:
	@scripts/install-deps

test-deps:
	@scripts/install-deps --test

configure:
	@[ -f $(BUILD)/build.ninja ] || cmake -S . -B $(BUILD) -G Ninja $(CMAKE_FLAGS)

build: deps configure
	@cmake --build $(BUILD) --parallel $(JOBS)

# Only what running needs: the program, not the tests and benchmarks.
program: deps configure
	@echo "Building the wendle program in $(BUILD)/ (tests and benchmarks are left for make test)"
	@cmake --build $(BUILD) --parallel $(JOBS) --target wendle

run: program
	@echo "Starting Wendle: look for the wand in the tray, or press Ctrl+Alt+Space"
	$(BUILD)/src/app/wendle

test: test-deps configure
	@cmake --build $(BUILD) --parallel $(JOBS)
	ctest --test-dir $(BUILD) --output-on-failure --parallel $(JOBS) --timeout 600

bench: test-deps configure
	@cmake --build $(BUILD) --parallel $(JOBS)
	cmake --build $(BUILD) --target bench

fuzz: test-deps configure
	@cmake --build $(BUILD) --target fuzz

package: program
	@scripts/install-deps --package
	@cd $(BUILD) && cpack -G DEB

package-check: package
	@scripts/install-deps --package
	tests/package/package-check $(BUILD)

install-user: program
	@scripts/install-user $(BUILD)

uninstall-user:
	@scripts/install-user --uninstall

format:
	@git ls-files '*.cpp' '*.h' '*.mm' | xargs clang-format -i

clean:
	rm -rf $(BUILD)
