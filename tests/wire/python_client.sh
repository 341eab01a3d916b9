#!/bin/sh
# The client in another language, which has the .proto alone, against the real server.
set -e
server=$1 client=$2
folder=$(mktemp -d)
"$server" --store "$folder/model.tlm" --sample --listen "unix:$folder/model.sock" --beat-ms 100 2> "$folder/log" &
process=$!
finish() {
  kill "$process" 2> /dev/null || true
  wait "$process" || true
  rm -rf "$folder"
}
trap finish EXIT
while ! grep -q event=listening "$folder/log"; do
  kill -0 "$process" || { cat "$folder/log"; exit 1; }
done
/usr/bin/python3 "$client" "unix:$folder/model.sock" - "Новое имя из Python" > "$folder/out"
cat "$folder/out"
key=$(sed -n 's/^measurement [0-9]* \([0-9A-F]*\) .*/\1/p' "$folder/out" | head -n 1)
[ "$(grep -c '^measurement ' "$folder/out")" -gt 5 ] || { echo "too few measurements"; exit 1; }
grep -q "^event 602 1 tbl=IdentifiedObject,seq=1 python $key Новое имя из Python\$" "$folder/out" ||
  { echo "the event did not come back"; exit 1; }
