#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds and runs both consumers against it,
# once through find_package(imgtarn) and once through pkg-config.
set -euo pipefail
build=$1; source=$2; scratch=$3
rm -rf "$scratch"
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cmake -S "$source" -B "$scratch/cmake" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/cmake" >/dev/null
libdir=$(ls -d "$scratch"/prefix/lib*/pkgconfig | head -n 1)
export LD_LIBRARY_PATH
LD_LIBRARY_PATH="$(dirname "$libdir")"
"$scratch/cmake/consumer"
"$scratch/cmake/vision_consumer"
for pair in imgtarn:consumer imgtarn-vision:vision_consumer; do
  flags=$(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs "${pair%%:*}")
  # shellcheck disable=SC2086
  c++ -std=c++17 "$source/${pair#*:}.cpp" -o "$scratch/${pair#*:}-pc" $flags
  "$scratch/${pair#*:}-pc"
done
