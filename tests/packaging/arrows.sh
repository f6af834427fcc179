#!/usr/bin/env bash
# arrows.sh SOURCE_FOLDER: every include of the product runs downward in the tables of docs/rooms.md, or stays in its room.
set -euo pipefail
cd "$1"

# "folder rank" of every folder in the tables; ".../x" stands beside the folder before it.
folders=$(awk -F '|' '/^\| *`/ {
        rank++
        count = split($3, names, ",")
        for (i = 1; i <= count; ++i) {
            gsub(/[` ]/, "", names[i])
            if (names[i] ~ /^\.\.\.\//) {
                sub(/\/[^\/]*$/, "", folder)
                folder = folder substr(names[i], 4)
            } else
                folder = names[i]
            print folder, rank
        }
    }' docs/rooms.md)
[ "$(wc -l <<<"$folders")" -gt 15 ]
while read -r folder _; do
    [ -d "$folder" ] || { echo "docs/rooms.md names $folder, which is no folder"; exit 1; }
done <<<"$folders"

find Vondrel toolkit control platform virtual -name '*.cpp' -o -name '*.h' | LC_ALL=C sort |
    xargs grep -HnE '^ *# *include "' | awk -F ':' -v folders="$folders" '
    function room(path) { # the rank of the nearest folder in the tables; 0: in none
        while (path ~ /\//) {
            sub(/\/[^\/]*$/, "", path)
            if (path in rank)
                return rank[path]
        }
        return 0
    }
    BEGIN {
        count = split(folders, lines, "\n")
        for (i = 1; i <= count; ++i) {
            split(lines[i], words, " ")
            rank[words[1]] = words[2]
        }
    }
    {
        split($3, parts, "\"")
        target = parts[2]
        if (target !~ /\//) {
            sibling = $1
            sub(/[^\/]*$/, "", sibling)
            target = sibling target
        }
        if (target ~ /^orvex\//) # the public headers are for everybody
            next
        from = room($1)
        to = room(target)
        ++seen
        wrong = ""
        if (to < from)
            wrong = "climbs"
        else if (!to && target !~ /^virtual\//)
            wrong = "is in no room of docs/rooms.md"
        else if (($1 ~ /^virtual\//) && target !~ /^(virtual|platform)\//)
            wrong = "leaves virtual/ for more than platform/"
        else if (($1 !~ /^virtual\//) && target ~ /^virtual\//)
            wrong = "reaches into virtual/"
        if (wrong) {
            print $1 ":" $2 ": " target " " wrong
            ++failures
        }
    }
    END {
        print seen + 0 " includes, " failures + 0 " against the arrows"
        exit failures > 0 || seen < 500
    }'
