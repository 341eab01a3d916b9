#!/bin/sh
# Includes run one way: each folder may include only what is named beside it.
cd "$1" || exit 1
broken=0
# FORBIDDEN-PATTERN FOLDER...
forbid() {
  pattern=$1
  shift
  for folder in "$@"; do
    found=$(grep -rnE "#include *[<\"]($pattern)" "$folder" --include='*.h' --include='*.cpp')
    [ -z "$found" ] || { echo "$folder reaches over a wall:"; echo "$found"; broken=1; }
  done
}
forbid 'Q[A-Z]|Tlm(Wire|Client|Server)/|sqlite3' mdx
forbid 'Q[A-Z]|Tlm(Client|Server)/|sqlite3' wire
forbid 'TlmServer/|sqlite3|host/' client
forbid 'Tlm(Wire|Server)/|sqlite3|host/|TlmClient/(ITransport|TlmSession)' module model data dialogs
forbid 'Q(Widget|Application|MainWindow|Painter|Pixmap|Image)|TlmClient/|host/' server
exit $broken
