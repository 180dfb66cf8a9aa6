#!/usr/bin/env bash
# Installs the build tree given, builds the consumers against the copy and runs them; then moves the
# copy away and does the same with pkg-config alone.
set -euo pipefail
build=$1
source=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/first" >"$scratch/log"
cmake -S "$source" -B "$scratch/build" -DCMAKE_PREFIX_PATH="$scratch/first" >>"$scratch/log"
cmake --build "$scratch/build" >>"$scratch/log" || { cat "$scratch/log"; exit 1; }
"$scratch/build/c_consumer"
"$scratch/build/cxx_consumer"

mv "$scratch/first" "$scratch/second"
package=$(dirname "$(find "$scratch/second" -name mirovan.pc)")
export PKG_CONFIG_PATH=$package
read -ra flags < <(pkg-config --cflags --libs mirovan)
cc -std=c11 -Wall -Wextra -Wpedantic -Werror "$source/c_consumer.c" "${flags[@]}" \
   -o "$scratch/by_pkg_config"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir mirovan) "$scratch/by_pkg_config"
