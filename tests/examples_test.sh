#!/usr/bin/env bash
# Runs the examples in the folder given, and holds result and output against what they are to be.
set -euo pipefail
PATH=$1:$PATH
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch
failed=0

# expect RESULT PATTERN COMMAND: the output, both streams together, has a line like the pattern.
expect() {
    local result=0
    bash -c "$3" >"$scratch/output" 2>&1 </dev/null || result=$?
    if [[ $result != "$1" ]] || ! grep -qE -- "$2" "$scratch/output"; then
        printf 'wrong: %s\n  result %s, not %s, or no line like %s in:\n' "$3" "$result" "$1" "$2"
        cat "$scratch/output"
        failed=1
    fi
}

filled=$(df --output=size,avail / | awk 'NR == 2 { printf "%.0f", 100 - 100 * $2 / $1 }')

expect 0 "^  release +$(uname -r)$"      'host_report'
expect 0 "\"$(uname -n)\""              'host_report --json'
expect 0 '^hello$'                      'run_with_timeout 60 "echo hello # a comment"'
expect 3 '^ended with status 3$'        'run_with_timeout 60 "echo lost >&2; exit 3"'
expect 0 '^6888896$'                    'run_with_timeout 60 "seq 1000000" | tail -n +1 | wc -c'
expect 124 '^begun$'                    'run_with_timeout 2 "echo begun; sleep 61.25 & sleep 61.25"'
expect 1 '^$'                           'echo; ps -e -o args | grep -q "^sleep 61[.]25"'
expect 2 '^usage'                       'run_with_timeout soon true'
expect 1 ' %  /$'                       "volumes_running_full $((filled - 2)) /"
expect 0 '^$'                           "echo; volumes_running_full $((filled + 2)) /"
expect 3 'statistics of the volume'                'volumes_running_full 100 /nonexistent'
expect 2 '^usage'                       'volumes_running_full 101'
expect 0 '^[0-9]+ .*sleep of .* waiting .* 1 threads .* ended' \
    'sleep 4 & watch_process $! | tr "\n" " "'
expect 1 'PROCESS_ACCESS'               'watch_process 2147483647'

# A tree of files, folders, a link and names that are not words; find, du and diff know what it holds.
tree=$scratch/tree
mkdir -p "$tree/one/two words/three" "$tree/empty"
head -c 70000 /dev/urandom >"$tree/one/two words/large"
echo hidden >"$tree/one/.hidden"
echo quoted >"$tree/one/two words/three/it's"
ln -s one/.hidden "$tree/link"
export tree
of_find="find -L '$tree' -mindepth 1"
sum=$(find -L "$tree" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum }')
expect 0 "^$(eval "$of_find" | wc -l) entries, $sum bytes\$" 'tree_tool list "$tree"'
expect 0 '^same$' "diff <(tree_tool list '$tree' | head -n -1 | sed 's/^ *//' | sort) \
    <($of_find -type d -printf '0  %p\n' -o -printf '%s  %p\n' | sort) && echo same"
expect 0 '^5 entries, 70000 bytes$'     'cp "$tree/one/two words/large" "$tree/empty/a.Txt" &&
    tree_tool list "$tree/*.txt"; rm "$tree/empty/a.Txt"'
expect 0 "^4 of 4 files copied, $sum bytes\$" 'tree_tool copy "$tree" "$TMPDIR/to" && diff -r "$tree" "$TMPDIR/to"'
expect 1 'lies in'                      'tree_tool copy "$tree" "$tree/one/inside"; status=$?
    rmdir "$tree/one/inside" && exit $status'
expect 0 '^8 entries would be deleted'  'tree_tool empty "$TMPDIR/to" && diff -r "$tree" "$TMPDIR/to"'
expect 0 '^8 entries deleted$'          'tree_tool empty "$TMPDIR/to" --yes && rmdir "$TMPDIR/to"'
expect 1 'nonexistent: 0x'              'tree_tool list /nonexistent'
expect 2 '^tree_tool copy'              'tree_tool copy "$tree"'

for source in "$(dirname "$0")"/../examples/*.c*; do
    example=$(basename "${source%.*}")
    grep -qE "^(expect|    ).*$example" "$0" || { echo "$example is not run here"; failed=1; }
done
rm -r "$tree" "$scratch/output"
rmdir "$scratch" || failed=1
exit $failed
