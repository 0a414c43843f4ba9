#!/usr/bin/env bash
# Installs the build into a temporary prefix and builds a small C program against the
# installed files twice: through pkg-config and through find_package.  Both programs
# query the sample log set (ZELKLOG_CONFIG is set by the caller).
#   install_test.sh BUILD_DIR C_COMPILER
set -euo pipefail
build=$1 cc=$2
here=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
prefix=$tmp/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
for f in include/zelkLogRead.h include/zelkLogWriter.h share/man/man1/zelklog.1 \
  share/bash-completion/completions/zelklog bin/zelklog; do
  [ -e "$prefix/$f" ] || { echo "not installed: $f" >&2; exit 1; }
done
lib=$(dirname "$(find "$prefix" -name libzelkLogReadST.so.3 | head -1)")
[ -L "$lib/libzelkLogReadST.so" ] && [ -L "$lib/libzelkLogReadST.so.3" ] || {
  echo "SONAME links missing in $lib" >&2; exit 1; }

# pkg-config
export PKG_CONFIG_PATH=$lib/pkgconfig
# shellcheck disable=SC2046
"$cc" -std=c99 -Wall -Werror -o "$tmp/consumer-pc" "$here/consumer.c" \
  $(pkg-config --cflags --libs zelkLogReadST) -Wl,-rpath,"$lib"
"$tmp/consumer-pc" >"$tmp/pc.out"

# CMake package
cmake -S "$here/consumer" -B "$tmp/cmake-build" -G Ninja -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$tmp/cmake-build" >/dev/null
"$tmp/cmake-build/consumer" >"$tmp/cmake.out"

cmp "$tmp/pc.out" "$tmp/cmake.out"
# The installed tool reads the same set with the installed libraries.
"$prefix/bin/zelklog" query --no-pager 'SEV >= WARNING' >/dev/null
echo "pkg-config and CMake consumers read $(wc -l <"$tmp/pc.out") records"
