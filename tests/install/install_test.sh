#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the build tree under a temporary prefix, builds the C and the C++
# program of this folder against what was installed, by pkg-config and by
# find_package, with the shared and with the static library, and runs them: on
# this machine, and on the simulated host, where there is something to find.
#
#   install_test.sh BUILD_DIR VERSION CC CXX LIBDIR MAKE_SMBIOS [COMPILER_FLAG...]
set -eu

build=$1 version=$2 cc=$3 cxx=$4 libdir=$5 make_smbios=$6
shift 6
flags=("$@")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

step() { echo "== $*"; }
# The programs may meet the sanitizers of the build; leaks are reported by them.
run() {
  step "run $1"
  LD_LIBRARY_PATH=$prefix/$libdir "$1" "$version"
}

step install
cmake --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }

step "each header alone"
strict=(-Wall -Wextra -Wpedantic -Werror)
for header in "$prefix"/include/ortinv/*.h; do
  name=ortinv/$(basename "$header")
  printf '#include <%s>\nextern int not_empty;\n' "$name" >"$work/alone.c"
  "$cc" -std=c11 "${strict[@]}" -I"$prefix/include" -fsyntax-only "$work/alone.c"
  "$cxx" -std=c++20 "${strict[@]}" -I"$prefix/include" -fsyntax-only -x c++ "$work/alone.c"
done

step "pkg-config"
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
[ "$(pkg-config --modversion ortinv)" = "$version" ]
read -ra cflags <<<"$(pkg-config --cflags ortinv)"
read -ra shared <<<"$(pkg-config --libs ortinv)"
read -ra static <<<"$(pkg-config --static --libs ortinv)"
for i in "${!static[@]}"; do
  [ "${static[i]}" != -lortinv ] || static[i]=-l:libortinv.a
done
"$cc" -std=c11 "${flags[@]}" "${strict[@]}" "${cflags[@]}" \
  "$here/consumer.c" -o "$work/shared_c" "${shared[@]}"
"$cxx" -std=c++20 "${flags[@]}" "${strict[@]}" "${cflags[@]}" \
  "$here/consumer.cc" -o "$work/shared_cc" "${shared[@]}"
"$cc" -std=c11 "${flags[@]}" "${strict[@]}" "${cflags[@]}" \
  "$here/consumer.c" -o "$work/static_c" "${static[@]}"
for program in shared_c shared_cc static_c; do
  run "$work/$program"
done

step "find_package"
cmake -G Ninja -S "$here/package" -B "$work/package" -DCMAKE_PREFIX_PATH="$prefix" \
  -DWANTED_VERSION="$version" -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_C_FLAGS="${flags[*]}" -DCMAKE_CXX_FLAGS="${flags[*]}" >"$work/cmake.log" ||
  { cat "$work/cmake.log"; exit 1; }
cmake --build "$work/package" >"$work/build.log" || { cat "$work/build.log"; exit 1; }
for program in ortinv_c ortinv_cc static_c static_cc; do
  run "$work/package/$program"
done

step "simulated host"
lab=$here/../../lab
mkdir -p "$work/host"
cp -R "$lab/host/." "$work/host"
mkdir -p "$work/host/vmfs/devices/char/mem"
"$make_smbios" "$work/host/vmfs/devices/char/mem/smbios"
for program in ortinv_c static_c ortinv_cc static_cc; do
  step "run $program there"
  "$lab/sandbox" --host "$work/host" --bind "$work" "$work" \
    --env "LD_LIBRARY_PATH=$prefix/$libdir" -- "$work/package/$program" "$version" \
    >"$work/there.log" || { cat "$work/there.log"; exit 1; }
done
for found in "system information" manufacturer "first name is found"; do
  grep -q "^ok: $found " "$work/there.log" || { cat "$work/there.log"; exit 1; }
done

step "the manual's example"
sed -n '/^\.EX$/,/^\.EE$/{/^\./!p}' "$prefix/share/man/man3/libortinv.3" | sed 's/\\e/\\/g' \
  >"$work/example.c"
"$cc" -std=c11 "${flags[@]}" "${strict[@]}" "${cflags[@]}" "$work/example.c" -o "$work/example" \
  "${shared[@]}"
LD_LIBRARY_PATH=$prefix/$libdir "$work/example" | tee "$work/here.log"
grep -q "^libortinv $version on ." "$work/here.log"
"$lab/sandbox" --host "$work/host" --bind "$work" "$work" \
  --env "LD_LIBRARY_PATH=$prefix/$libdir" -- "$work/example" >"$work/there.log"
for line in "slot PCI-E Slot 1: bus 0b" "package Example-raid .*" "no channel to the BMC"; do
  grep -qx "$line" "$work/there.log" || { cat "$work/there.log"; exit 1; }
done

step "what the headers declare"
"$here/declared_functions.py" "$prefix/include" "$cc" >"$work/declared"
cat "$prefix"/include/ortinv/*.h | tr '\n' ' ' | sed 's/ \* / /g' |
  grep -Eo 'docs/oddities\.md: +[a-z0-9-]+' >"$work/oddities"
while read -r _ slug; do
  cat "$here"/../../docs/oddities*.md | grep -qx "### $slug" ||
    { echo "no oddity $slug" >&2; exit 1; }
done <"$work/oddities"
if sed 's/docs\/oddities\.md//g' "$prefix"/include/ortinv/*.h |
  grep -E '(docs|base|wire|log|bmc|smbios|hostinfo)/[a-z]'; then
  echo "a header points at a file that is not installed" >&2
  exit 1
fi
for header in "$prefix"/include/ortinv/*.h; do
  header=$(basename "$header")
  [ "$header" = ortinv.h ] || grep -q "$header" "$prefix/share/man/man3/libortinv.3" ||
    { echo "libortinv(3) does not know $header" >&2; exit 1; }
done

step "shared object"
soname=$(objdump -p "$prefix/$libdir/libortinv.so" | awk '/SONAME/ {print $2}')
[ "$soname" = "libortinv.so.${version%%.*}" ]

# Whatever is not declared is hidden, in both libraries.
defined() { # NM_OPTION... LIBRARY
  nm --defined-only --extern-only --format=posix "$@" |
    awk '$2 ~ /[TWBDRVu]/ && $1 !~ /asan|gcov|llvm/ {sub(/@.*/, "", $1); print $1}' | LC_ALL=C sort -u
}
defined -D "$prefix/$libdir/libortinv.so" | diff "$work/declared" -
defined "$prefix/$libdir/libortinv.a" | diff "$work/declared" -

echo "install test passed"
