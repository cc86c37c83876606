# Thin wrapper around CMake. Each architecture builds in its own tree under build/.
JOBS ?= 2
CTEST = ctest --output-on-failure -j$(JOBS) --timeout 300

CONF_x86_64 =
CONF_i386   = -DKV_M32=ON
CONF_asan   = -DKV_SANITIZE=address
CONF_tsan   = -DKV_SANITIZE=thread

.PHONY: all build test deps clean $(addprefix build-,x86_64 i386 asan tsan) $(addprefix test-,x86_64 i386 asan tsan)

all: build

deps:
	@tools/deps.sh base i386

CONFIGS = x86_64 i386 asan tsan

$(addprefix build-,$(CONFIGS)): build-%:
	cmake -S . -B build/$* $(CONF_$*) -DCMAKE_BUILD_TYPE=$(if $(findstring asan,$*),Debug,RelWithDebInfo) >/dev/null
	cmake --build build/$* -j$(JOBS)

$(addprefix test-,$(CONFIGS)): test-%: build-%
	cd build/$* && $(CTEST)

build: deps build-x86_64 build-i386

# Both architectures, then the x86_64 tests once more under ASan+UBSan.
test: deps test-x86_64 test-i386 test-asan
	@echo "make test: all configurations passed"

clean:
	rm -rf build
