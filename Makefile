# Thin wrapper around CMake. Each architecture builds in its own tree under build/.
JOBS ?= 2
CTEST = ctest --output-on-failure -j$(JOBS) --timeout 300

CONF_x86_64 =
CONF_i386   = -DKV_M32=ON
CONF_asan   = -DKV_SANITIZE=address
CONF_tsan   = -DKV_SANITIZE=thread

.PHONY: all build test deps deps-http deps-web clean demo fuzz bench sim torture package package-x86_64 package-i386 $(addprefix build-,x86_64 i386 asan tsan) $(addprefix test-,x86_64 i386 asan tsan)

all: build

deps:
	@tools/deps.sh base i386 wireshark tools

CONFIGS = x86_64 i386 asan tsan

$(addprefix build-,$(CONFIGS)): build-%:
	cmake -S . -B build/$* $(CONF_$*) -DCMAKE_BUILD_TYPE=$(if $(findstring asan,$*),Debug,RelWithDebInfo) >/dev/null
	cmake --build build/$* -j$(JOBS)

$(addprefix test-,x86_64 i386 asan): test-%: build-%
	cd build/$* && $(CTEST)

# ThreadSanitizer runs only the library-lock test, so the whole suite stays quick.
test-tsan:
	cmake -S . -B build/tsan $(CONF_tsan) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build build/tsan -j$(JOBS) --target test_api
	cd build/tsan && $(CTEST) -R '^ClientLogonExLock\.'

build: deps build-x86_64 build-i386

# Both architectures, then the x86_64 tests once more under ASan+UBSan, and the lock test
# under ThreadSanitizer. The web console's tests (x86_64) need its packages.
test: deps test-x86_64 test-i386 test-asan test-tsan
	@echo "make test: all configurations passed"

# kvsim's web console is built where cpp-httplib is; its tests run in a browser.
build-x86_64: deps-http
test-x86_64: deps-web
deps-http:
	@tools/deps.sh http
deps-web:
	@tools/deps.sh web

# kvsim and the POS example built for x86_64 and run against each other on free loopback ports.
demo:
	@tools/deps.sh base
	cmake -S . -B build/x86_64 $(CONF_x86_64) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build build/x86_64 -j$(JOBS) --target kvsim pos_demo
	@tools/demo.sh build/x86_64

# kvsim with its web console and simulated customers; prints the console's URL. Options
# for kvsim go in SIM_ARGS (e.g. SIM_ARGS="--http 8080 --speed 5").
SIM_ARGS ?= --http 0
sim:
	@tools/deps.sh base http
	cmake -S . -B build/x86_64 $(CONF_x86_64) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build build/x86_64 -j$(JOBS) --target kvsim
	build/x86_64/sim/kvsim --auto $(SIM_ARGS)

# libFuzzer targets of the transport under ASan+UBSan, built with clang in build/fuzz; each
# runs FUZZ_SECONDS (default 60). Crashes land in build/fuzz/run/artifacts/.
FUZZ_SECONDS ?= 60
fuzz:
	@tools/deps.sh base fuzz
	cmake -S . -B build/fuzz -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DKV_FUZZ=ON -DKV_TESTS=OFF \
		-DKV_SANITIZE=address -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build build/fuzz -j$(JOBS) --target fuzz_seeds fuzz_readmsg fuzz_processmsg
	FUZZ_SECONDS=$(FUZZ_SECONDS) fuzz/run.sh build/fuzz

# API, transport, events and simulator benchmarks (Google Benchmark, Release, x86_64): pinned
# to CPU 0, then unpinned.
BENCHES = bench_api bench_transport bench_events bench_kvsim
BENCH_ARGS ?= --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
bench:
	@tools/deps.sh base bench
	cmake -S . -B build/bench -DKV_BENCH=ON -DKV_TESTS=OFF -DCMAKE_BUILD_TYPE=Release >/dev/null
	cmake --build build/bench -j$(JOBS) --target $(BENCHES)
	@for b in $(BENCHES); do \
		echo "== $$b pinned: taskset -c 0 (client and server threads share one CPU)"; \
		taskset -c 0 build/bench/bench/$$b $(BENCH_ARGS) || exit 1; \
		echo "== $$b unpinned"; \
		build/bench/bench/$$b $(BENCH_ARGS) || exit 1; \
	done

# Debian packages of both architectures (libkvclient2, libkvclient-dev, kvclient-tools) in
# build/packages/, each checked by the package test as they are made.
PACKAGE_TARGETS = kvclient kvsim kvcli
package-x86_64 package-i386: package-%: deps
	cmake -S . -B build/$* $(CONF_$*) -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	cmake --build build/$* -j$(JOBS) --target $(PACKAGE_TARGETS)
	tests/tools/package_test.sh build/$* $(CURDIR)/build/packages

package: package-x86_64 package-i386
	@ls -l build/packages/*.deb

# The library under injected faults for TORTURE_SECONDS (default 1200), under ASan+UBSan so
# that leaks and overruns are seen; ends with one summary line, non-zero on any failure.
TORTURE_SECONDS ?= 1200
torture: deps
	cmake -S . -B build/asan $(CONF_asan) -DCMAKE_BUILD_TYPE=Debug >/dev/null
	cmake --build build/asan -j$(JOBS) --target kvtorture kvsim
	build/asan/torture/kvtorture --kvsim build/asan/sim/kvsim --seconds $(TORTURE_SECONDS)

clean:
	rm -rf build
