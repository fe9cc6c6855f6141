# What a person types here; `make` alone lists it. Meson and Ninja do the work, in build/.

.DEFAULT_GOAL := help
.PHONY: help run test asan tsan lint bench install clean deps

PREFIX ?= /usr/local
DESTDIR ?=

# Both sanitizers end the program at the first finding; allocations are made one by one, so that leaks show.
ASAN_ENV = ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:detect_stack_use_after_return=1 \
           UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 G_SLICE=always-malloc
MESON_TEST = meson test --no-rebuild --print-errorlogs

help:
	@echo 'make run      build, power the simulated camera up, show it moving (stays up on a terminal)'
	@echo 'make test     build and run the test suite'
	@echo 'make asan     the suite under AddressSanitizer and UndefinedBehaviorSanitizer'
	@echo 'make tsan     the suite under ThreadSanitizer'
	@echo 'make lint     formatting, clang-tidy, a clang build without warnings, the scripts'
	@echo 'make bench    the benchmarks'
	@echo 'make install  install under $$DESTDIR$$PREFIX (PREFIX=$(PREFIX))'
	@echo 'make clean    remove build/'
	@echo
	@echo 'Missing Debian packages are named and installed first (as root or through sudo).'

deps:
	@tools/install-deps.sh build

build/release/build.ninja: | deps
	meson setup build/release --buildtype=release --prefix='$(PREFIX)'
build/asan/build.ninja: | deps
	meson setup build/asan -Db_sanitize=address,undefined -Db_lundef=false -Dbench=disabled
build/tsan/build.ninja: | deps
	meson setup build/tsan -Db_sanitize=thread -Db_lundef=false -Dbench=disabled

run: deps build/release/build.ninja
	ninja -C build/release
	tools/run.sh build/release

test: deps build/release/build.ninja
	ninja -C build/release
	$(MESON_TEST) -C build/release

asan: deps build/asan/build.ninja
	ninja -C build/asan
	$(ASAN_ENV) $(MESON_TEST) -C build/asan --timeout-multiplier 3

tsan: deps build/tsan/build.ninja
	ninja -C build/tsan
	tools/tsan-test.sh build/tsan

lint:
	@tools/install-deps.sh build lint
	tools/lint.sh

bench: deps build/release/build.ninja
	meson configure build/release -Dbench=enabled
	ninja -C build/release
	meson test -C build/release --no-rebuild --benchmark --verbose

install: deps build/release/build.ninja
	meson configure build/release --prefix='$(PREFIX)'
	ninja -C build/release
	meson install -C build/release --no-rebuild $(if $(DESTDIR),--destdir '$(DESTDIR)')

clean:
	rm -rf build
