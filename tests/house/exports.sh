#!/bin/sh
# Of its own the module exports its entry and one flag, and nothing else.
symbols=$(nm -D --defined-only "$1" | awk '{print $3}' | sed 's/@.*//' | grep -v '^_\(init\|fini\)$' | sort | tr '\n' ' ')
[ "$symbols" = "CppCliModule fl_first " ] || { echo "exported: $symbols"; exit 1; }
