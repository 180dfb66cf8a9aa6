#!/usr/bin/env bash
# Runs the examples in the folder given, and holds result and output against what they are to be.
set -euo pipefail
PATH=$1:$PATH
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch/of-the-examples
mkdir -p "$TMPDIR" "$scratch/tree/one/two words" "$scratch/tree/.git"
head -c 70000 /dev/zero >"$scratch/tree/one/two words/large"
head -c 90000 /dev/zero >"$scratch/tree/.git/larger"
sources=$(dirname "$0")/../examples
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

expect 0 '^/etc/passwd: '"$(wc -c </etc/passwd) bytes$" 'failures /etc/passwd'
expect 1 '_FILE_ATTR_NOTFOUND'          'failures /nonexistent'
expect 1 'errno: No such file'          'failures /nonexistent'
expect 0 '^70000 .*/two words/large$'   "largest_file '$scratch/tree'"
expect 1 'No such file'                 'largest_file /nonexistent'
expect 3 '^lost$'                       'limited 60000 sh -c "echo lost >&2; exit 3"'
expect 143 '^ended at its limit$'       'limited 200 sh -c "echo begun; sleep 61.25"'
expect 143 '^begun$'                    'limited 200 sh -c "echo begun; sleep 61.25 & sleep 61.25"'
expect 1 '^$'                           'echo; ps -e -o args | grep -q "^sleep 61[.]25"'
expect 127 'No such file'               'limited 0 /nonexistent'
expect 2 '^wrong use'                   'limited soon true'
expect 0 '^all .* process [01]\.[0-9]+ processors$' 'yes >/dev/null & load_now 1 $!; s=$?; kill $!; exit $s'
expect 2 'No such process'              'load_now 1 2147483647'
expect 0 '^     3  ok$'                 'numbered_lines "yes ok" 3'
expect 0 '^3$'                          'numbered_lines "yes ok" 3 | wc -l'
expect 0 "^  GetSystemVer +$(uname -sr | sed 's/[.+]/./g')\$" 'tour'
expect 0 '^  EnumFileA, W +[0-9]+ entries .*, 2 match' 'tour'
! grep failed "$scratch/output" || failed=1

# The tour shows every operation; one it only names.
while read -r operation; do
    [[ $operation == *_Shutdown ]] || grep -q "$operation(" "$sources/tour.c" ||
        { echo "tour does not show $operation"; failed=1; }
done < <(grep -oE '^Mirovan_(File|HardWare|Process|System)_\w+' "$(dirname "$0")/../source/exports.txt")
for source in "$sources"/*.c "$sources"/*.cpp; do
    example=$(basename "${source%.*}")
    grep -qE "^expect.*$example" "$0" || { echo "$example is not run here"; failed=1; }
done
rmdir "$TMPDIR" || failed=1
exit $failed
