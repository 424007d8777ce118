#!/usr/bin/env bash
# Installs the built library to a temporary prefix, builds an outside
# program against it with find_package and with pkg-config, and checks that
# the library needs nothing beyond the C and C++ runtimes.
set -euo pipefail
build_dir="$1"
source_dir="$(cd "$(dirname "$0")" && pwd)"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
lib="$(ls "$work"/prefix/lib*/liborvstd.so | head -n1)"

if find "$work/prefix/include" -path '*kernel*' | grep -q .; then
  echo "kernel headers were installed"; exit 1
fi

deps="$(ldd "$lib" | awk '{print $1}' | grep -v -E '^(linux-vdso\.so|/lib64/ld-linux|libc\.so|libm\.so|libstdc\+\+\.so|libgcc_s\.so)' || true)"
if [ -n "$deps" ]; then
  echo "unexpected dependencies: $deps"; exit 1
fi

cmake -S "$source_dir/consumer" -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$(dirname "$lib")" "$work/consumer/consumer"

pcdir="$(dirname "$lib")/pkgconfig"
if command -v pkg-config >/dev/null; then
  # The .pc file records the configured prefix; point it at the temporary one.
  flags="$(PKG_CONFIG_PATH="$pcdir" pkg-config --define-variable=prefix="$work/prefix" --cflags --libs orvstd)"
  # shellcheck disable=SC2086
  g++ "$source_dir/consumer/main.cc" $flags -o "$work/pc_consumer"
  LD_LIBRARY_PATH="$(dirname "$lib")" "$work/pc_consumer" >/dev/null
  echo "pkg-config consumer ok"
fi
echo "install ok"
