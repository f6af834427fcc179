#!/usr/bin/env bash
# library-size.sh LIBRARY: prints how large a built library is when it is stripped. Fails above 1 MB.
set -euo pipefail
stripped=$(mktemp)
trap 'rm -f "$stripped"' EXIT
strip -o "$stripped" "$1"
size=$(stat -c %s "$stripped")
echo "$(basename "$1") stripped: $size bytes (limit 1000000)"
[ "$size" -le 1000000 ]
