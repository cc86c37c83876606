#!/usr/bin/env bash
# Makes sure the build machine has what `make` needs; installs it when run as root.
# Usage: tools/deps.sh [base|i386|tools|fuzz|bench|wireshark|http|web]...
set -euo pipefail

need_pkgs=()
check() {  # check <what> <package> <test command...>
  local what=$1 pkg=$2; shift 2
  if ! "$@" >/dev/null 2>&1; then need_pkgs+=("$pkg"); echo "deps: missing $what (package $pkg)"; fi
}

m32_ok() { echo 'int main(){}' | g++ -m32 -x c++ - -o /tmp/kv-m32-probe.$$ && rm -f /tmp/kv-m32-probe.$$; }

for want in "${@:-base}"; do
  case $want in
    base)
      check cmake cmake command -v cmake
      check g++ g++ command -v g++
      check make make command -v make
      check "googletest sources" googletest test -f /usr/src/googletest/CMakeLists.txt
      ;;
    i386) check "32-bit C++ toolchain" g++-multilib m32_ok ;;
    tools)  # kvcli, the Python package's tests, the install and package tests
      check CLI11 libcli11-dev test -f /usr/include/CLI/CLI.hpp
      check pytest python3-pytest /usr/bin/python3 -m pytest --version
      check dpkg-deb dpkg-dev command -v dpkg-shlibdeps
      check pkg-config pkg-config command -v pkg-config
      check readelf binutils command -v readelf
      check file file command -v file
      ;;
    bench)
      check "Google Benchmark" libbenchmark-dev test -f /usr/include/benchmark/benchmark.h
      check taskset util-linux command -v taskset
      ;;
    wireshark)   # tshark with Lua runs the dissector tests
      check "tshark with Lua" tshark sh -c 'tshark -G folders | grep -qi "^Personal Lua Plugins"'
      ;;
    http) check "cpp-httplib (kvsim's web console)" libcpp-httplib-dev test -f /usr/include/httplib.h ;;
    web)
      check "cpp-httplib (kvsim's web console)" libcpp-httplib-dev test -f /usr/include/httplib.h
      check chromium chromium test -x /usr/bin/chromium
      check chromedriver chromium-driver test -x /usr/bin/chromedriver
      check "Python Selenium" python3-selenium /usr/bin/python3 -c 'import selenium'
      check "Python pytest" python3-pytest /usr/bin/python3 -c 'import pytest'
      ;;
    fuzz)
      check clang clang command -v clang++
      check "libFuzzer runtime" libclang-rt-dev sh -c 'ls /usr/lib/llvm-*/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a'
      ;;
  esac
done

[ ${#need_pkgs[@]} -eq 0 ] && exit 0
if [ "$(id -u)" = 0 ] && command -v apt-get >/dev/null; then
  echo "deps: installing ${need_pkgs[*]}"
  export DEBIAN_FRONTEND=noninteractive
  # tshark asks whether non-root users may capture; answer no without a prompt.
  echo "wireshark-common wireshark-common/install-setuid boolean false" | debconf-set-selections
  apt-get update -qq
  apt-get install -y -qq "${need_pkgs[@]}"
else
  echo "deps: please install: sudo apt-get install ${need_pkgs[*]}" >&2
  exit 1
fi
