#!/usr/bin/env bash
# consumer.sh CMAKE BUILD WORK CC CXX: installs the build into a prefix of its own, then finds, compiles, links and runs a
# program in C and one in C++ against it, by the CMake package and by pkg-config, on both libraries.
set -euo pipefail
cmake=$1 build=$2 work=$3 cc=$4 cxx=$5
sources=$(cd "$(dirname "$0")/consumer" && pwd)
rm -rf "$work"
mkdir -p "$work"
"$cmake" --install "$build" --prefix "$work/prefix" >"$work/install.log"

libraries=$(dirname "$(find "$work/prefix" -name liborvex.so)")
say() { echo "== $*"; }

# run PROGRAM: on the real library, then the same program on the virtual one.
run() {
    LD_LIBRARY_PATH=$libraries "$1" real
    ORVEX_BENCH=spectrophotometer LD_LIBRARY_PATH=$libraries/orvex-virtual:$libraries "$1" virtual
}

say "CMake package"
CC=$cc CXX=$cxx "$cmake" -S "$sources" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" >"$work/configure.log"
"$cmake" --build "$work/cmake" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
run "$work/cmake/consumer_c"
run "$work/cmake/consumer_cpp"

say "pkg-config"
export PKG_CONFIG_PATH=$libraries/pkgconfig
flags=$(pkg-config --cflags --libs orvex)
"$cc" -std=c99 -Wall -Wextra -pedantic -Werror "$sources/consumer.c" $flags -o "$work/pc_c"
"$cxx" -std=c++20 -Wall -Wextra -pedantic -Werror "$sources/consumer.cpp" $flags -o "$work/pc_cpp"
run "$work/pc_c"
run "$work/pc_cpp"
[ "$(pkg-config --modversion orvex)" = 3.1.0 ]
pkg-config --exists orvex-virtual

say "the program of the read-me, on the bench"
awk '/^```c$/ { on = 1; next } /^```$/ { on = 0 } on' "$sources/../../../README.md" >"$work/spot.c"
"$cc" -std=c99 -Wall -Wextra -pedantic -Werror "$work/spot.c" $flags -o "$work/spot"
ORVEX_BENCH=spectrophotometer LD_LIBRARY_PATH=$libraries/orvex-virtual:$libraries "$work/spot" | tee "$work/spot.txt"
grep -qE '^L\* 9[0-9]\.[0-9]+  a\* -?[0-9.]+  b\* -?[0-9.]+$' "$work/spot.txt"

for page in color strips; do
    say "the program of the page docs/$page.md, and what it prints"
    text=$sources/../../../docs/$page.md
    awk '/^```c$/ { on = 1; next } /^```$/ { on = 0 } on' "$text" >"$work/$page.c"
    "$cc" -std=c99 -Wall -Wextra -pedantic -Werror "$work/$page.c" $flags -o "$work/$page"
    LD_LIBRARY_PATH=$libraries "$work/$page" | tee "$work/$page.txt"
    awk '/^```text$/ { on = 1; next } /^```$/ { on = 0 } on' "$text" | diff - "$work/$page.txt"
done

say "SONAMEs"
readelf -d "$libraries/liborvex.so" | grep -q 'SONAME.*\[liborvex.so.3\]'
readelf -d "$libraries/liborvex-virtual.so" | grep -q 'SONAME.*\[liborvex-virtual.so.3\]'

say "headers, each by itself, as C99 and as C++20"
for header in "$work"/prefix/include/orvex/*.h; do
    printf '#include <orvex/%s>\nextern int nothing;\n' "$(basename "$header")" >"$work/alone.c"
    "$cc" -std=c99 -Wall -Wextra -pedantic -Werror -fsyntax-only -I "$work/prefix/include" "$work/alone.c"
    "$cxx" -std=c++20 -Wall -Wextra -pedantic -Werror -fsyntax-only -x c++ -I "$work/prefix/include" "$work/alone.c"
done
