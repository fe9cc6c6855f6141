# What a person types here; `make` alone lists it. Meson and Ninja do the work, in build/.

.DEFAULT_GOAL := help
.PHONY: help run test asan tsan tsan-mutants coverage fuzz lint campaign calls soak arm bench bench-peers install deb deb-test vm-test clean deps

PREFIX ?= /usr/local
SECONDS ?= 60
MINUTES ?= 20
DESTDIR ?=

help:
	@echo 'make run      build, power the simulated camera up, show it moving (stays up on a terminal;'
	@echo '              TIME_SCALE=N: N times faster)'
	@echo 'make test     build and run the test suite'
	@echo 'make asan     the suite under AddressSanitizer and UndefinedBehaviorSanitizer'
	@echo 'make tsan     the suite under ThreadSanitizer'
	@echo 'make tsan-mutants takes each lock away and shows that ThreadSanitizer sees it'
	@echo 'make coverage the lines that the suite runs; red when a room misses more than before (UPDATE=1)'
	@echo 'make fuzz     every fuzz target for SECONDS=$(SECONDS)'
	@echo 'make lint     formatting, clang-tidy, a clang build without warnings, the scripts'
	@echo 'make campaign every fault of the simulated board in every phase; writes docs/reliability.md (SEED=N)'
	@echo 'make calls    every system call of ptzd fails, at more places of a step than in the suite'
	@echo 'make soak     random faults and requests for MINUTES=$(MINUTES); whether anything grows (SEED=N)'
	@echo 'make arm      the suite on ARM machines, and on one of the other byte order, under an emulator'
	@echo 'make bench    the benchmarks; writes docs/performance.md'
	@echo 'make bench-peers the same work beside other libraries and bare services; writes docs/performance.md'
	@echo 'make deb      the Debian packages, in build/deb'
	@echo 'make deb-test install, upgrade and purge them in a fresh Debian 12 (as root or through sudo)'
	@echo 'make vm-test  the release build on the spidev and GPIO of a Debian kernel, and the packages under systemd, in'
	@echo '              virtual machines (as root or through sudo)'
	@echo 'make install  install under $$DESTDIR$$PREFIX (PREFIX=$(PREFIX))'
	@echo 'make clean    remove build/'
	@echo
	@echo 'Missing Debian packages are named and installed first (as root or through sudo).'

deps:
	@tools/install-deps.sh build

# Not -O3: there gcc 12 warns of overlapping and overrun memory in its own library, wrongly.
build/release/build.ninja: | deps
	meson setup build/release --buildtype=release -Doptimization=2
build/asan/build.ninja: | deps
	meson setup build/asan -Db_sanitize=address,undefined -Db_lundef=false -Dbench=disabled
build/tsan/build.ninja: | deps
	meson setup build/tsan -Db_sanitize=thread -Db_lundef=false -Dbench=disabled
build/coverage/build.ninja: | deps
	meson setup build/coverage --buildtype=debug -Db_coverage=true -Db_lundef=false -Dbench=disabled

build/fuzz/build.ninja: | deps
	CC=clang CXX=clang++ meson setup build/fuzz -Dfuzz=true -Db_sanitize=address,undefined -Db_lundef=false -Dbench=disabled

run: deps build/release/build.ninja
	ninja -C build/release
	tools/run.sh build/release $(if $(TIME_SCALE),--time-scale '$(TIME_SCALE)')

test: deps build/release/build.ninja
	ninja -C build/release
	meson test -C build/release --no-rebuild --print-errorlogs

asan: deps build/asan/build.ninja
	ninja -C build/asan
	tools/sanitizer-test.sh build/asan address

tsan: deps build/tsan/build.ninja
	ninja -C build/tsan
	tools/sanitizer-test.sh build/tsan thread

tsan-mutants: deps
	@tools/tsan-mutants.sh build/tsan-mutants

coverage: deps
	@tools/install-deps.sh coverage
	@$(MAKE) --no-print-directory build/coverage/build.ninja
	ninja -C build/coverage
	@tools/coverage.py build/coverage $(if $(UPDATE),--update)

fuzz: deps
	@tools/install-deps.sh fuzz
	@$(MAKE) --no-print-directory build/fuzz/build.ninja
	ninja -C build/fuzz fuzzers
	@tools/fuzz.sh build/fuzz $(SECONDS)

lint:
	@tools/install-deps.sh build lint
	tools/lint.sh

campaign: deps build/release/build.ninja
	ninja -C build/release
	build/release/tests/campaign/campaign --page docs/reliability.md $(if $(SEED),--seed $(SEED))

soak: deps build/release/build.ninja
	ninja -C build/release
	build/release/tests/endurance/soak $(MINUTES) $(SEED)

calls: deps build/release/build.ninja
	ninja -C build/release
	CALLS=all build/release/tests/shim/test_calls

arm: deps build/release/build.ninja
	ninja -C build/release
	@tools/arm.sh

bench: deps build/release/build.ninja
	@tools/install-deps.sh bench
	meson configure build/release -Dbench=enabled
	ninja -C build/release
	bench/figures.py build/release --page docs/performance.md

# Says meson setup, as a folder from before knows nothing of the option.
bench-peers: deps build/release/build.ninja
	@tools/install-deps.sh bench-peers
	meson setup --reconfigure build/release -Dpeers=true
	ninja -C build/release peers
	@bench/peers.py build/release --page docs/performance.md

# In a folder of its own, where nothing is built that does not get installed.
install:
	@tools/install-deps.sh install
	@[ -f build/install/build.ninja ] || meson setup build/install --buildtype=release -Doptimization=2 \
	    -Dtests=false -Dbench=disabled
	meson configure build/install --prefix='$(PREFIX)'
	ninja -C build/install
	meson install -C build/install --no-rebuild $(if $(DESTDIR),--destdir '$(DESTDIR)')
	$(if $(DESTDIR),,tools/after-install.sh)

deb:
	@tools/install-deps.sh deb
	tools/deb.sh

deb-test: deb
	@tools/install-deps.sh deb-test
	tools/deb-test.sh build/deb

vm-test: deps deb build/release/build.ninja
	@tools/install-deps.sh vm vm-systemd
	ninja -C build/release
	tests/vm/run.sh build/release build/vm build/deb

clean:
	rm -rf build
