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
# Only the ends of the network line know how it is made.
forbid 'grpc|google/protobuf|tlm/v1/|TlmWireGrpc/' mdx wire/src wire/include client/include client/src/passport module model data \
  dialogs server/src server/include server/script host tools/tour
found=$(grep -lE '#include *[<"](grpc|google/protobuf|tlm/v1/|TlmWireGrpc/)' client/src/*.h client/src/*.cpp |
  grep -v '^client/src/\(grpc\|net\)')
[ -z "$found" ] || { echo "these know the network beside the transport: $found"; broken=1; }
found=$(grep -lE '#include *[<"](grpc|google/protobuf|tlm/v1/|TlmWireGrpc/)' tools/*.h tools/*.cpp |
  grep -v '^tools/value')
[ -z "$found" ] || { echo "these know the network beside what hands in values: $found"; broken=1; }
exit $broken
