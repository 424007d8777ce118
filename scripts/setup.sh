#!/usr/bin/env bash
# Installs what a fresh Debian machine needs to build and test orvstd
# (with the argument "fuzz", also what the fuzz build needs).
# Does nothing when everything is there already.
set -euo pipefail

need=()
command -v cmake >/dev/null || need+=(cmake)
command -v ninja >/dev/null || need+=(ninja-build)
command -v g++ >/dev/null || need+=(g++)
[ -f /usr/include/gtest/gtest.h ] || need+=(libgtest-dev)
[ -f /usr/include/gmock/gmock.h ] || need+=(libgmock-dev)
[ -f /usr/include/benchmark/benchmark.h ] || need+=(libbenchmark-dev)
# Only the archive benchmark's comparison uses it; the library never links it.
[ -f /usr/include/boost/archive/binary_oarchive.hpp ] || need+=(libboost-serialization-dev)
# Benchmarks of the maths compare with Eigen (header-only); the library never uses it.
[ -f /usr/include/eigen3/Eigen/Core ] || need+=(libeigen3-dev)
# `setup.sh fuzz` (from scripts/fuzz.sh): clang with libFuzzer and the sanitizer runtimes.
if [ "${1:-}" = fuzz ]; then
  command -v clang++-14 >/dev/null || need+=(clang-14)
  compgen -G "/usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-x86_64.a" >/dev/null || need+=(libclang-rt-14-dev)
fi

if [ ${#need[@]} -gt 0 ]; then
  echo "setup: installing ${need[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -q
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -q "${need[@]}"
fi
