#!/bin/sh
# "./tlm server" behind its build: a store with the sample is made, served, kept and served again.
set -e
tlm=$1 build=$2
folder=$(mktemp -d)
process=
finish() {
  [ -z "$process" ] || kill "$process" 2> /dev/null || true
  rm -rf "$folder"
}
trap finish EXIT
fail() {
  echo "$1"
  cat "$folder/log"
  exit 1
}
# Starts it, and ends it in order when it listens.
serve() {
  : > "$folder/log"
  "$tlm" serve "$build" "$folder/new" --listen "unix:$folder/model.sock" "$@" 2> "$folder/log" &
  process=$!
  while ! grep -q event=listening "$folder/log"; do
    kill -0 "$process" 2> /dev/null || fail "it does not listen"
  done
  kill -TERM "$process"
  wait "$process" || fail "it does not end in order"
  process=
  grep -q event=stopped "$folder/log" || fail "it does not stop"
}
serve
grep -q "event=store-opened store=$folder/new/sample.tlm made=yes" "$folder/log" || fail "it makes no sample"
identity=$(sed -n 's/.* identity=\([0-9A-Za-z]*\).*/\1/p' "$folder/log")
[ -n "$identity" ] || fail "it tells no identity"
serve --log-level info
grep -q "made=no identity=$identity" "$folder/log" || fail "it does not keep its store"
if "$tlm" serve "$build" "$folder/new" --nonsense 2> "$folder/log"; then fail "an option that is none is taken"; fi
grep -q "there is no option --nonsense" "$folder/log" || fail "it does not say which option is none"
# The command takes this way, with the release build.
grep -q '^  cmd_serve "$root/build/release" "$root/build/server" "\$@"$' "$tlm" || fail "./tlm server goes another way"
