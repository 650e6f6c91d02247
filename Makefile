# Entry points for people and CI. Each target installs what it needs first, so a fresh Debian 12
# machine needs nothing but this checkout.

JOBS ?= $(shell nproc)

.PHONY: deps demo check build bench format clean

deps:
	./scripts/install-deps

# Builds the program and runs the self-test report on the bundled sample chat.
demo: deps
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS) --target lumenary
	./build/dev/lumenary --selftest docs/sample-chat.txt --as Amma

# Builds everything under AddressSanitizer and UndefinedBehaviorSanitizer with warnings fatal,
# then runs every test.
check: deps
	cmake --preset asan
	cmake --build --preset asan -j $(JOBS)
	ctest --preset asan -j $(JOBS)

build: deps
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS)

# Optimised build; runs the benchmarks whose figures go to docs/PERFORMANCE.md.
bench: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS)
	./scripts/run-benchmarks

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
