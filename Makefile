# Two commands for a fresh Debian 12 machine:  make run  and  make test.
SHELL := /bin/bash
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)
JOBS ?= $(shell nproc)
PACKAGES := g++ cmake ninja-build pkg-config qt6-base-dev zlib1g-dev libjpeg62-turbo-dev \
            libgif-dev libgtest-dev libgmock-dev libbenchmark-dev fonts-ipafont-gothic \
            clang libclang-rt-14-dev xvfb xauth imagemagick icoutils python3-pil \
            libpng-dev libspng-dev
WERROR := $(if $(CI),-DBRIVANDELLE_WERROR=ON,)

.PHONY: deps build run test test-nogui bench fuzz format clean

deps:
	@missing=$$(for p in $(PACKAGES); do dpkg-query -W -f='$${Status}\n' $$p 2>/dev/null \
	    | grep -q 'install ok installed' || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	    echo "Installing:" $$missing; \
	    $(SUDO) apt-get update -qq && \
	    DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq $$missing; \
	fi

build: deps
	cmake --preset default $(WERROR)
	cmake --build --preset default -j $(JOBS)

run: build
	./build/bin/brivandelle

test: deps
	cmake --preset default $(WERROR)
	cmake --build --preset default -j $(JOBS)
	ctest --preset default -j $(JOBS)
	cmake --preset asan $(WERROR)
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(JOBS)

test-nogui: deps
	cmake --preset nogui $(WERROR)
	cmake --build --preset nogui -j $(JOBS)
	ctest --preset nogui -j $(JOBS)

bench: build
	for b in build/bin/*_bench; do "$$b"; done

fuzz: deps
	cmake --preset fuzz
	cmake --build --preset fuzz -j $(JOBS)

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build build-asan build-nogui build-fuzz
