#!/usr/bin/env bash
# The public header stands alone in every language that it is for, without a warning.
set -euo pipefail
include=$1
for compiler in gcc clang; do
    for standard in c11 c17 c++17 c++20; do
        language=c
        [[ $standard == c++* ]] && language=c++
        echo '#include "mirovan.h"' |
            "$compiler" -x "$language" -std="$standard" -Wall -Wextra -Wpedantic -Wshadow \
                -Wconversion -Werror -I "$include" -fsyntax-only -
    done
done
