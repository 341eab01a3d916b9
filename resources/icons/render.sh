#!/bin/sh
# Draws the PNG images anew from their SVG sources (needs rsvg-convert, package librsvg2-bin).
cd "$(dirname "$0")" || exit 1
for source in svg/*.svg; do
  rsvg-convert -w 48 -h 48 "$source" -o "$(basename "$source" .svg).png" || exit 1
done
