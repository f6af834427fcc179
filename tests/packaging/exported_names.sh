#!/usr/bin/env bash
# exported_names.sh LIBRARY LIST: the library defines the names of the list, not one more or less.
set -euo pipefail
library=$1
wanted=$(LC_ALL=C sort "$2")
found=$(nm -D --defined-only "$library" | awk '{ print $NF }' | LC_ALL=C sort)
[ -n "$wanted" ] && [ -n "$found" ]
if [ "$wanted" = "$found" ]; then
    echo "$(wc -l <<<"$found") names, as listed"
    exit 0
fi
echo "only in the list:"
LC_ALL=C comm -23 <(echo "$wanted") <(echo "$found")
echo "only in $library:"
LC_ALL=C comm -13 <(echo "$wanted") <(echo "$found")
exit 1
