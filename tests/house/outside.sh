#!/bin/sh
# Installs into a folder of its own, builds a module against the package there, and runs it.
set -e
build=$1 source=$2 work=$3 cmake=$4
rm -rf "$work"
mkdir -p "$work"
"$cmake" --install "$build" --prefix "$work/prefix" > "$work/install.log"
"$cmake" -S "$source" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" > "$work/configure.log"
"$cmake" --build "$work/build" > "$work/build.log" || { cat "$work/build.log"; exit 1; }
QT_QPA_PLATFORM=offscreen "$work/build/outside"
"$work/prefix/bin/tlmctl" --version
