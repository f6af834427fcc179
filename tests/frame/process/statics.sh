#!/usr/bin/env bash
# statics.sh ALLOWED OBJECT...: no object file registers a destructor for the end of the process or of a thread, but for
# the one with the name ALLOWED.
set -euo pipefail
allowed=$1
shift
found=$(nm -A --undefined-only "$@" | grep -E ' U __cxa_(thread_)?atexit$' | cut -d: -f1 | xargs -rn1 basename | sort)
if [ "$found" = "$allowed" ]; then
    echo "$# objects, as it should be"
    exit 0
fi
echo "destructors of statics in: ${found:-nothing}"
exit 1
