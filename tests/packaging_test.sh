#!/usr/bin/env bash
# The recipes for other packaging systems name this version and options that exist.
set -euo pipefail
cd "$1"
version=$(sed -n 's/^#define MIROVAN_VERSION "\(.*\)"/\1/p' include/mirovan.h)
for recipe in packaging/homebrew/mirovan.rb packaging/vcpkg/vcpkg.json; do
    grep -q "version\"\?:\? \"$version\"" "$recipe" || { echo "$recipe: not $version"; exit 1; }
done
grep -q "^## $version" CHANGELOG.md || { echo "CHANGELOG.md: no $version"; exit 1; }
grep -oh 'MIROVAN_BUILD_[A-Z]*' packaging/homebrew/mirovan.rb packaging/vcpkg/portfile.cmake | sort -u |
    while read -r option; do
        grep -q "option($option " CMakeLists.txt || { echo "no option $option"; exit 1; }
    done
