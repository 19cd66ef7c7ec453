#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds and runs a consumer against it, once
# through find_package(imgtarn) and once through pkg-config.
set -euo pipefail
build=$1; source=$2; scratch=$3
rm -rf "$scratch"
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cmake -S "$source" -B "$scratch/cmake" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/cmake" >/dev/null
LD_LIBRARY_PATH="$scratch/prefix/lib" "$scratch/cmake/consumer"
libdir=$(ls -d "$scratch"/prefix/lib*/pkgconfig | head -n 1)
flags=$(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs imgtarn)
# shellcheck disable=SC2086
c++ -std=c++17 "$source/consumer.cpp" -o "$scratch/consumer-pc" $flags
LD_LIBRARY_PATH="$(dirname "$libdir")" "$scratch/consumer-pc"
