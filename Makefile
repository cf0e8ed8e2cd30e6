# Short commands for the CMake presets: `make` builds the programs, `make run` shows them at work on a sample site,
# `make window` opens the window there, `make test` builds and runs every test.

BUILD := build
PYTHON := /usr/bin/python3 -B
JOBS := $(shell nproc)
# In the forms, an object belongs to its parent.
QT_OWNS := -cppcoreguidelines-owning-memory,-clang-analyzer-cplusplus.NewDeleteLeaks
# How long each fuzz target runs.
SECONDS := 60
# Left out of the tests with sanitizers, where each takes many times as long: the crash tests of thousands of states and
# runs, which run the same code again and again, and the pictures, as the tests of the windows run that code too.
SWEEPS := ^(crash\.(fault_sweep|flush_cost|full_disk|kill_sweep|power_cut|programs_at_once|server_sweep)|system\.pictures)$$
# NO_SKIPS=1: a test that is skipped, because the machine refuses what it needs, is a failure.
RUN_CTEST = $(PYTHON) tests/tools/run_ctest.py --jobs $(JOBS) $(if $(NO_SKIPS),--no-skips)
LAUNCHER := $(if $(shell command -v ccache),-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)

.PHONY: all packages configure run window test-build test sanitize-build sanitize fuzz-build fuzz bench coverage mutants format lint install clean

# The two programs, and the library of the windows.
all: configure
	@cmake --build --preset release -j$(JOBS) --target fieldpost fieldpost-reg

packages:
	@tools/install-packages

configure: packages
	@cmake --preset release $(LAUNCHER) --log-level=NOTICE > /dev/null

run: all
	@$(PYTHON) tools/run-sample

window: all
	@$(PYTHON) tools/run-window

test-build: configure
	@cmake --build --preset release -j$(JOBS)

# Prints the figures of the crash tests and the counts.
test: test-build
	@$(RUN_CTEST) release $(BUILD) --figures crash

# All tests but those of SWEEPS, in a build that ends with a report at any misuse of memory or undefined behaviour.
sanitize-build: packages
	@cmake --preset asan $(LAUNCHER) --log-level=NOTICE > /dev/null
	@cmake --build --preset asan -j$(JOBS)

sanitize: sanitize-build
	@$(RUN_CTEST) asan $(BUILD)/asan --exclude '$(SWEEPS)'

fuzz-build: packages
	@cmake --preset fuzz $(LAUNCHER) --log-level=NOTICE > /dev/null
	@cmake --build --preset fuzz -j$(JOBS)

# SECONDS=30 runs each target for 30 seconds; SEED=1 begins with the same inputs each time. Failing inputs stay under
# build/fuzz.
fuzz: fuzz-build
	@$(PYTHON) tests/fuzz/run_fuzzers.py $(BUILD)/fuzz/fuzz $(SECONDS) $(if $(SEED),--seed $(SEED))

# QUICK=1 runs small sizes only; BENCH_DIR=/dev/shm/bench puts the files into another folder.
bench: all
	@cmake --build --preset release -j$(JOBS) --target benchmarks
	@$(PYTHON) tests/bench/run_benchmarks.py $(if $(QUICK),--quick) $(if $(BENCH_DIR),--folder $(BENCH_DIR))

# Coverage of the core by its tests, checked against tests/coverage/bars.py; line by line in build/coverage/html.
coverage: packages
	@cmake --preset coverage $(LAUNCHER) --log-level=NOTICE > /dev/null
	@cmake --build --preset coverage -j$(JOBS)
	@$(PYTHON) tests/coverage/run_coverage.py $(BUILD)/coverage

# ONLY=faultlog mutates only sources whose path contains this word. An interrupted run is resumed.
mutants: packages
	@tools/install-packages python3-clang
	@$(PYTHON) tests/mutants/mutants.py $(if $(ONLY),--only $(ONLY))

format: packages
	@$(PYTHON) tests/tools/check_format.py clang-format --fix

lint: packages
	@tools/install-packages clang-tidy
	@cmake --preset lint --log-level=NOTICE > /dev/null
	@cmake --build --preset lint -j$(JOBS) > /dev/null
	@$(PYTHON) tests/tools/check_format.py clang-format
	@$(PYTHON) tests/tools/check_text.py
	@$(PYTHON) tests/tools/check_layers.py
	@run-clang-tidy -quiet -p $(BUILD)/lint -j$(JOBS) '^$(CURDIR)/src/[a-z]+/[^/]*\.cpp$$'
	@run-clang-tidy -quiet -p $(BUILD)/lint -j$(JOBS) -checks=$(QT_OWNS) '^$(CURDIR)/src/.*/forms/[^/]*\.cpp$$'

install: all
	@cmake --install $(BUILD)

clean:
	@rm -rf $(BUILD)
