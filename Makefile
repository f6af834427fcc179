# Everything that a newcomer types. `make help` lists it.

PRESET ?= release
SOURCES = $$(git ls-files '*.cpp' '*.h' '*.c')

.DEFAULT_GOAL := help
.PHONY: help demo check build test format format-check tidy debug coverage bench color-digest fuzz check-kernel mutants figures install clean

help: ## list the targets
	@awk -F ':.*## ' '/^[a-z-]+:.*## / { printf "  make %-14s %s\n", $$1, $$2 }' $(MAKEFILE_LIST)

demo: ## a tour by ox on the virtual bench: calibrate, scan a chart, verify it, write a report
	@tools/demo.sh

check: ## three builds (plain, AddressSanitizer + UBSan, ThreadSanitizer), all tests, format, exported names
	@tools/check.sh

build: ## build PRESET (release, debug, clang, asan, tsan)
	@tools/setup.sh check
	cmake --preset $(PRESET)
	cmake --build build/$(PRESET)

test: build ## build PRESET and run its tests
	ctest --test-dir build/$(PRESET) --output-on-failure -j2

debug: ## build without optimisation and run the tests
	@$(MAKE) test PRESET=debug

format: ## lay out all sources by .clang-format
	clang-format -i $(SOURCES)

format-check: ## say which sources are not laid out by .clang-format
	@clang-format --dry-run -Werror $(SOURCES)

tidy: ## clang-tidy over the library
	@tools/setup.sh tidy
	cmake --preset clang
	cmake --build build/clang
	git ls-files 'Vondrel/*.cpp' 'toolkit/*.cpp' 'platform/*.cpp' 'virtual/*.cpp' 'control/*.cpp' | xargs -P2 -n4 clang-tidy -p build/clang --quiet

coverage: ## line coverage of the tests, as text
	@tools/setup.sh coverage
	cmake --preset debug -B build/coverage -DCMAKE_CXX_FLAGS=--coverage -DCMAKE_C_FLAGS=--coverage
	cmake --build build/coverage
	ctest --test-dir build/coverage -j2
	gcovr --root . --exclude 'tests/.*' --exclude 'benchmarks/.*' build/coverage

bench: ## run the benchmarks; build/bench/all.json holds what tools/bench.py compares
	@tools/setup.sh check
	cmake --preset release
	cmake --build build/release
	tools/bench.py build/release build/bench/all.json

color-digest: ## the bits of colorimetry are the same with g++ and clang, optimised or not
	@tools/setup.sh check
	@tools/color-digest.sh

fuzz: ## ten minutes of fuzzing per target
	@tools/setup.sh check
	@tools/fuzz.sh 600

check-kernel: ## the USB transport on a real kernel's usbfs, in an emulated machine
	@tools/setup.sh kernel
	@tools/check-kernel.sh

mutants: ## plant N (100) one-line faults in ROOM by SEED (1), or those of AT="FILE:LINE ...", and see the tests catch them
	@tools/setup.sh mutants
	@tools/mutants.py --room "$(ROOM)" --count $(or $(N),100) --seed $(or $(SEED),1) --jobs $(or $(J),2) $(if $(AT),--at $(AT))

figures: ## lines of tests and of code, the longest functions and files
	@tools/test-share.sh
	@tools/house.py

install: ## install the libraries and ox into PREFIX (default /usr/local)
	@tools/setup.sh build
	cmake -S . -B build/install -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEX_BUILD_TESTS=OFF -DORVEX_BUILD_BENCHMARKS=OFF
	cmake --build build/install --target orvex orvex-virtual ox
	cmake --install build/install $(if $(PREFIX),--prefix $(PREFIX))

clean: ## remove all builds
	rm -rf build
