#!/usr/bin/env bash
# The built library exports exactly the listed symbols, and is linked hardened.
set -euo pipefail
library=$1
listed=$2
diff <(nm -D --defined-only "$library" | awk '{print $NF}' | LC_ALL=C sort) \
     <(LC_ALL=C sort "$listed") || { echo "exported symbols differ (< built, > listed)"; exit 1; }
dynamic=$(readelf -dW "$library")
headers=$(readelf -lW "$library")
grep -q 'SONAME.*\[libmirovan\.so\.1\]' <<<"$dynamic"
grep -q 'BIND_NOW' <<<"$dynamic"
grep -q 'GNU_RELRO' <<<"$headers"
grep -q 'GNU_STACK .*RW ' <<<"$headers"
grep -q '__stack_chk_fail' <<<"$(nm -D "$library")"
