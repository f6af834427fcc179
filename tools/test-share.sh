#!/usr/bin/env bash
# test-share.sh [LIMIT]: lines of tests and of code, without blank lines and comments, per folder and over the whole tree. Fails
# when the tests are more than LIMIT percent of the code.
set -euo pipefail
cd "$(dirname "$0")/.."
limit=${1:-}

# Lines of the files named on the input. A comment sign in a text is taken for a text only on its own line.
count() {
    xargs -r cat | awk '
        {
            line = $0
            gsub(/\\./, "", line)
            gsub(/"[^"]*"/, "0", line)
            while (1) {
                if (inside) {
                    if (!(end = index(line, "*/"))) { line = ""; break }
                    line = substr(line, end + 2); inside = 0
                }
                sub(/\/\/.*/, "", line)
                if (!(begin = index(line, "/*"))) break
                rest = substr(line, begin + 2)
                if (end = index(rest, "*/")) line = substr(line, 1, begin - 1) " " substr(rest, end + 2)
                else { line = substr(line, 1, begin - 1); inside = 1; if (line ~ /[^ \t]/) ++lines; line = "" }
            }
            if (line ~ /[^ \t]/) ++lines
        }
        END { print lines + 0 }'
}

# sources FOLDER...: what is counted below the folders. The benchmarks and the examples are code that nobody ships.
sources() {
    git ls-files --cached --others --exclude-standard -- "$@" | grep -E '\.(cpp|h|c|def|py)$' | while read -r file; do
        [ -f "$file" ] && echo "$file"
    done
    true
}

product=(Vondrel toolkit control platform virtual include library apps python)
printf '%-44s %7s\n' "code" "lines"
sources "${product[@]}" | awk -F / '
    $1 == "Vondrel" && $2 == "DeviceDriver" { print $1 "/" $2 "/" $3 ($4 ~ /\./ ? "" : "/" $4); next }
    $1 ~ /^(Vondrel|platform|virtual|apps)$/ && $2 !~ /\./ { print $1 "/" $2; next }
    { print $1 }' | sort -u | while read -r folder; do
    # A folder that holds others counts its own files only.
    lines=$(sources "$folder" | { [[ $folder =~ ^(platform|virtual|apps|Vondrel/DeviceDriver/(GENERIC|ox))$ ]] &&
        grep -E "^$folder/[^/]+$" || cat; } | count)
    printf '  %-42s %7d\n' "$folder" "$lines"
done
printf '%-44s %7s\n' "tests" "lines"
for folder in $(sources tests | cut -d / -f 1-2 | sort -u); do
    printf '  %-42s %7d\n' "$folder" "$(sources "$folder" | count)"
done
code=$(sources "${product[@]}" | count)
tests=$(sources tests | count)
share=$(((tests * 1000 / code + 5) / 10))
echo "tests to code: $tests to $code lines, $share %${limit:+ (limit $limit %)}"
[ -z "$limit" ] || [ $((tests * 100)) -le $((code * limit)) ]
