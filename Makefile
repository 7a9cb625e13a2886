# Each command works from scratch: it installs what is missing and builds libcurl first. `make help` lists the commands.
# All results are under build/ and .deps/.
MAKEFLAGS += --no-print-directory
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 30
DEPS ?= .deps
PREFIX ?= /usr/local
RELEASE := build/release
CONFIGURE = cmake -DQUORVAD_DEPS_DIR=$(abspath $(DEPS)) --preset

.DEFAULT_GOAL := build
.PHONY: help build test demo run lint clang format sanitize fuzz mutants bench install package check-package check-reproducible dist clean deps-build deps-test deps-lint deps-clang deps-fuzz deps-package

help: ## Show this list
	@awk -F':.*## ' '/^[a-z-]+:.*## / { printf "  make %-18s %s\n", $$1, $$2 }' $(firstword $(MAKEFILE_LIST))

build: deps-build ## Build the programs into build/release/bin (the default)
	@$(CONFIGURE) release >/dev/null
	@cmake --build --preset release -j $(JOBS) --target programs

test: deps-test ## Build, run the unit tests, then the system tests; print a summary
	@$(CONFIGURE) release >/dev/null
	@cmake --build --preset release -j $(JOBS)
	@scripts/run-tests $(RELEASE)

demo: deps-test build ## Watch both kinds of update happen in a sandbox on this machine
	@sandbox/demo $(abspath $(RELEASE))/bin

run: build ## Run service, watcher and daemon on this machine until Ctrl-C; the database is kept under build/run
	@scripts/run-local $(RELEASE)/bin build/run

lint: deps-lint ## Check formatting, C++, scripts, Python, the kit's seam and stray paths
	@$(CONFIGURE) release >/dev/null
	@scripts/lint $(RELEASE)

clang: deps-clang ## Compile programs and tests with clang, warnings being errors
	@$(CONFIGURE) clang >/dev/null
	@cmake --build --preset clang -j $(JOBS)

format: deps-lint ## Format all C++ files in place
	@scripts/format

sanitize: deps-test ## Build with asan+ubsan and with tsan and run the unit tests under each
	@status=0; for preset in asan tsan; do scripts/run-sanitizer $$preset $(JOBS) $(abspath $(DEPS)) || status=1; done; exit $$status

fuzz: deps-fuzz ## Run each fuzzer for FUZZ_SECONDS (30); inputs that fail stay under build/fuzz/findings
	@$(CONFIGURE) fuzz
	@cmake --build --preset fuzz -j $(JOBS)
	@scripts/fuzz build/fuzz $(FUZZ_SECONDS)

mutants: deps-test ## Put random faults into the sources and see which tests notice (hours; SEED, COUNT=150, FOLDERS)
	@scripts/mutants --deps $(abspath $(DEPS)) $(addprefix --seed ,$(SEED)) $(addprefix --count ,$(COUNT)) $(FOLDERS)

bench: deps-test ## Measure the programs against the least possible cost (root, 15 minutes; FIGURES="load service" for some)
	@$(CONFIGURE) release >/dev/null
	@cmake --build --preset release -j $(JOBS) --target programs bench-programs
	@PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m bench $(RELEASE)/bin build/bench $(FIGURES)

install: deps-build ## Build and install below PREFIX (/usr/local), staged in DESTDIR if that is given
	@$(CONFIGURE) release -DCMAKE_INSTALL_PREFIX=$(PREFIX) >/dev/null
	@cmake --build --preset release -j $(JOBS) --target programs
	@DESTDIR="$(DESTDIR)" cmake --install $(RELEASE)

package: deps-package ## Build the Debian package and check it with lintian; the result is in build/package
	@scripts/build-package $(DEPS)

check-package: package ## Install, use, upgrade and purge the package in a fresh Debian system (root)
	@scripts/check-package "$$(ls -t build/package/quorvad_*.deb | head -n 1)" build/package/cache

check-reproducible: deps-build ## Build twice in two folders and compare the programs byte for byte
	@scripts/check-reproducible $(DEPS)

dist: ## Pack the newest commit as a tarball that builds and tests without git; the result is in build/dist
	@scripts/dist

clean: ## Delete everything built (the dependencies in .deps stay)
	@rm -rf build

deps-build:
	@scripts/install-deps build
	@scripts/build-curl $(DEPS)/curl

deps-test: deps-build
	@scripts/install-deps test

deps-lint: deps-build
	@scripts/install-deps lint

deps-clang: deps-build
	@scripts/install-deps clang

deps-fuzz: deps-build
	@scripts/install-deps fuzz

deps-package: deps-build
	@scripts/install-deps package
