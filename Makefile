# Entry points for people and CI. Each target installs what it needs first, so a fresh Debian 12
# machine needs nothing but this checkout.

JOBS ?= $(shell nproc)

.PHONY: deps demo check build bench format clean

deps:
	./scripts/install-deps

# Builds the program and opens her panel seeded from the bundled sample chat. The demo's data stays
# in build/demo, so a real archive in the user's data folder is never replaced. Without a display
# it prints the self-test report on the same chat instead.
DEMO_HOME = $(CURDIR)/build/demo
demo: deps
	cmake --preset dev
	cmake --build --preset dev -j $(JOBS) --target lumenary
	@if [ -n "$$DISPLAY$$WAYLAND_DISPLAY" ]; then \
	  XDG_DATA_HOME=$(DEMO_HOME)/data XDG_CONFIG_HOME=$(DEMO_HOME)/config \
	    ./build/dev/lumenary --demo docs/sample-chat.txt --as Amma; \
	else \
	  echo "No display here, so instead of her panel: the self-test report on the sample chat."; \
	  ./build/dev/lumenary --selftest docs/sample-chat.txt --as Amma; \
	fi

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
