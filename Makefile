# The commands of this project. Each sets up what it needs on a fresh Debian machine, then works through CMake and Ninja.
.PHONY: help lib convert test faults bench bench-programs bench-sizes install uninstall deb dist wheel test-python test-batch bench-python bench-archives windows windows-zip test-windows quality site test-site \
        fuzz keep-fuzz mutations format check-format clean

PREFIX ?= /usr/local
PRESET ?= release
BUILD := $(if $(filter release,$(PRESET)),build,build-$(PRESET))
JOBS ?= $(shell nproc)
COMPILE = cmake --build --preset $(PRESET) -j $(JOBS)

help:
	@echo "make convert [IN=file] [OUT=file] [ARGS=...]  convert an audio file; without IN a recording that Debian ships"
	@echo "make test                                    build and run every test"
	@echo "make lib                                     build $(BUILD)/libtonekit.so"
	@echo "make faults                                  fail each system call and allocation of real conversions in turn"
	@echo "make bench                                   measure and compare with peers, as tables of ratios"
	@echo "make bench-programs                          compare the program with sox, ffmpeg, flac, opusenc and lame"
	@echo "make bench-sizes                             measure the program against lengths, channels and jobs"
	@echo "make install PREFIX=/usr/local               library, headers, pkg-config, CMake package, program, man page"
	@echo "make uninstall PREFIX=/usr/local             remove what make install put there"
	@echo "make deb                                     Debian packages in $(BUILD)/deb"
	@echo "make dist                                    a release archive in $(BUILD)/dist, the same to the byte from one commit"
	@echo "make wheel                                   build the Python package: build/wheel/*.whl and *.tar.gz"
	@echo "make test-python                             build it, install it in a fresh environment and test it there"
	@echo "make test-batch                              test the conversion of archives at length, with a cluster of Ray"
	@echo "make bench-python                            compare it with other resamplers of Python"
	@echo "make bench-archives                          compare the conversion of archives with the bare program"
	@echo "make windows                                 cross-build build-windows/bin: tonekit.dll, tonekit-convert.exe, tests"
	@echo "make windows-zip                             pack the Windows build into build-windows/dist"
	@echo "make test-windows                            run the whole suite of the Windows build under Wine"
	@echo "make quality                                 compare quality with peers, into docs/quality"
	@echo "make site                                    build the site with the measured quality into $(BUILD)/site"
	@echo "make test-site                               build the site and test it in headless Chromium"
	@echo "make fuzz SECONDS=60 [TARGETS=...]           run every fuzz target, each for this time; with STILL=600 until its"
	@echo "                                             coverage stands still for so long, with PARALLEL=2 two at a time"
	@echo "make keep-fuzz [TARGETS=...]                 keep what the targets have reached in fuzz/grown"
	@echo "make mutations COUNT=1000 [TYPES=...]        changed real files through the program, built with sanitizers"
	@echo "make format                                  lay the sources out"

lib:
	@scripts/ensure_packages build
	@scripts/configure $(PRESET) $(CMAKE_ARGS)
	@$(COMPILE) --target tonekit

convert:
	@[ -z "$$IN" ] || [ -r "$$IN" ] || { echo "tonekit: the file $$IN is missing or can't be read" >&2; exit 1; }
	@scripts/ensure_packages build
	@scripts/configure $(PRESET) $(CMAKE_ARGS)
	@$(COMPILE) --target tonekit-convert
	@scripts/convert_recording $(BUILD) "$$IN" "$$OUT" $(ARGS)

test:
	@scripts/ensure_packages build test recording
	@scripts/configure $(PRESET) -DTONEKIT_TESTS=ON $(CMAKE_ARGS)
	@$(COMPILE)
	@scripts/run_tests $(BUILD)

bench:
	@scripts/ensure_packages build bench recording
	@scripts/configure $(PRESET) -DTONEKIT_BENCHMARKS=ON $(CMAKE_ARGS)
	@$(COMPILE)
	@scripts/run_benchmarks $(BUILD) $(ARGS)

bench-programs:
	@scripts/ensure_packages build bench-programs
	@scripts/configure $(PRESET) $(CMAKE_ARGS)
	@$(COMPILE) --target tonekit-convert
	@benchmarks/programs/measure_programs.py $(BUILD)/bin/tonekit-convert $(ARGS)

bench-sizes:
	@scripts/ensure_packages build bench-programs
	@scripts/configure $(PRESET) $(CMAKE_ARGS)
	@$(COMPILE) --target tonekit-convert
	@benchmarks/programs/measure_sizes.py $(BUILD)/bin/tonekit-convert $(ARGS)

install:
	@scripts/install --check "$(PREFIX)"
	@scripts/ensure_packages build
	@scripts/configure $(PRESET) -DCMAKE_INSTALL_PREFIX="$(PREFIX)" $(CMAKE_ARGS)
	@$(COMPILE) --target tonekit tonekit-convert
	@scripts/install $(BUILD) "$(PREFIX)"

uninstall:
	@scripts/uninstall "$(PREFIX)"

deb:
	@scripts/ensure_packages build deb
	@scripts/configure release -DCMAKE_INSTALL_PREFIX=/usr -DTONEKIT_CODEC=ON -DTONEKIT_LIBAV=ON $(CMAKE_ARGS)
	@cmake --build --preset release -j $(JOBS) --target tonekit tonekit-convert
	@scripts/make_packages build

dist:
	@scripts/ensure_packages build
	@scripts/configure release -DTONEKIT_CODEC=ON $(CMAKE_ARGS)
	@scripts/make_archive build

wheel:
	@scripts/ensure_packages build python
	@command -v cargo >/dev/null || [ -x "$$HOME/.cargo/bin/cargo" ] || scripts/ensure_packages cargo || true
	@CMAKE_ARGS="$(CMAKE_ARGS)" CMAKE_BUILD_PARALLEL_LEVEL=$(JOBS) scripts/python/wheel $(BUILD)/wheel

bench-python: wheel
	@scripts/python/bench $(BUILD)/wheel $(ARGS)

bench-archives: wheel
	@scripts/python/bench_archives $(BUILD)/wheel $(ARGS)

test-python: wheel
	@scripts/python/test $(BUILD)/wheel batch python/tests

test-batch: wheel
	@scripts/python/test $(BUILD)/wheel ray -m "long or not long" --durations=5 python/tests/batch

faults:
	@scripts/ensure_packages build test
	@scripts/configure $(PRESET) -DTONEKIT_TESTS=ON $(CMAKE_ARGS)
	@$(COMPILE) --target tonekit-convert tonekit_inject
	@tests/faults/run_faults $(BUILD)/bin/tonekit-convert $(BUILD)/tests/faults/tonekit_inject.so

windows:
	@scripts/ensure_packages windows
	@scripts/windows/build_dependencies
	@scripts/configure windows -DTONEKIT_TESTS=ON $(CMAKE_ARGS)
	@cmake --build --preset windows -j $(JOBS)

windows-zip: windows
	@scripts/windows/make_archive

test-windows: windows
	@scripts/ensure_packages build test recording test-windows
	@scripts/configure release -DTONEKIT_TESTS=ON $(CMAKE_ARGS)
	@cmake --build --preset release -j $(JOBS) --target tiers tonekit-convert fixed_time
	@scripts/windows/run_tests

quality:
	@scripts/ensure_packages build quality
	@scripts/configure $(PRESET) -DTONEKIT_QUALITY=ON $(CMAKE_ARGS)
	@$(COMPILE) --target convert_signals --target tonekit
	@/usr/bin/python3 benchmarks/quality/measure_quality.py $(BUILD) docs/quality $(ARGS)

site:
	@scripts/ensure_packages site
	@scripts/build_site $(BUILD)/site --omit=dev

test-site:
	@scripts/ensure_packages site quality test-site
	@scripts/test_site $(BUILD)/site

fuzz:
	@scripts/ensure_packages build test fuzz
	@scripts/configure fuzz -DTONEKIT_TESTS=ON $(CMAKE_ARGS)
	@cmake --build --preset fuzz -j $(JOBS) --target fuzz_targets
	@scripts/run_fuzz $(if $(STILL),--still $(STILL)) $(if $(PARALLEL),--parallel $(PARALLEL)) build-fuzz $(or $(SECONDS),60) $(TARGETS)

keep-fuzz:
	@scripts/keep_fuzz_corpora build-fuzz $(TARGETS)

mutations:
	@scripts/ensure_packages build test fuzz mutations
	@scripts/configure fuzz -DTONEKIT_TESTS=ON $(CMAKE_ARGS)
	@cmake --build --preset fuzz -j $(JOBS) --target tonekit-convert
	@scripts/run_mutations build-fuzz/bin/tonekit-convert $(or $(COUNT),1000) $(or $(SEED),1) $(TYPES)

format:
	@scripts/ensure_packages format
	@scripts/sources | xargs clang-format-14 -i

check-format:
	@scripts/ensure_packages format
	@scripts/sources | xargs clang-format-14 --dry-run --Werror
	@scripts/check_tree

clean:
	rm -rf build build-*
