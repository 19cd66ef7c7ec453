#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds and runs both consumers against it,
# once through find_package(imgtarn) and once through pkg-config; given an interpreter, also
# imports the installed Python module with it.
set -euo pipefail
build=$1; source=$2; scratch=$3; python=${4:-}
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
# The module finds libimgtarn-vision.so in the prefix by itself: no LD_LIBRARY_PATH.
if [ -n "$python" ]; then
  site=$(ls -d "$scratch"/prefix/lib/python3*/*-packages)
  env -u LD_LIBRARY_PATH PYTHONPATH="$site" "$python" -c 'import sys, imgtarn
assert imgtarn.__file__.startswith(sys.argv[1]), imgtarn.__file__
print(imgtarn.__version__, imgtarn.counting_sort([2, 1]).values)' "$site"
fi
