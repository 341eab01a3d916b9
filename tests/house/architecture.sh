#!/bin/sh
# The map stays below 150 lines, and every path in it (in back quotes, with a slash) exists.
cd "$1" || exit 1
lines=$(wc -l < ARCHITECTURE.md)
[ "$lines" -le 150 ] || { echo "ARCHITECTURE.md has $lines lines"; exit 1; }
missing=0
seen=0
for path in $(grep -o '`[A-Za-z0-9_./-]*/[A-Za-z0-9_./-]*`' ARCHITECTURE.md | tr -d '`' | sort -u); do
  case "$path" in build/*) continue ;; esac
  seen=$((seen + 1))
  [ -e "$path" ] || { echo "ARCHITECTURE.md names $path, which is not there"; missing=1; }
done
[ "$seen" -gt 10 ] || { echo "ARCHITECTURE.md names hardly any path"; exit 1; }
exit $missing
