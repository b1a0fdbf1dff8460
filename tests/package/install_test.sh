#!/bin/sh
# The installed package in use: `cmake --install` into a fresh prefix, then
# examples/cineinfo.c built twice against it, by a CMake project through
# find_package(XeFile) and by the C compiler with pkg-config's flags. Both
# programs must describe a sample recording alike and succeed.
#
#   install_test.sh BUILD_DIR SOURCE_DIR XEFILE_TOOL LIBDIR WORK_DIR [CMAKE]
set -eu
build=$1 source=$2 tool=$3 libdir=$4 work=$5 cmake=${6:-cmake}

fail() { echo "install_test: $*" >&2; exit 1; }
command -v pkg-config >/dev/null 2>&1 || fail "pkg-config is missing"

rm -rf "$work"
mkdir -p "$work"
prefix=$work/prefix
# The builds below fail on any installed file that is missing.
"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log" || fail "install failed (see $work/install.log)"

# Through the CMake package; only the install prefix tells where it is.
"$cmake" -S "$source/tests/package/consumer" -B "$work/consumer" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF \
  -DXEFILE_EXAMPLES_DIR="$source/examples" >"$work/consumer.log" 2>&1 || fail "consumer configure failed (see $work/consumer.log)"
found=$(sed -n 's/^XeFile_DIR:PATH=//p' "$work/consumer/CMakeCache.txt")
case "$found" in
  "$prefix"/*) ;;
  *) fail "find_package took XeFile from '$found', not from $prefix" ;;
esac
"$cmake" --build "$work/consumer" >>"$work/consumer.log" 2>&1 || fail "consumer build failed (see $work/consumer.log)"

# Through pkg-config, with the flags and nothing else, as strict C11: the
# public headers compile as pedantic C11.
flags=$(PKG_CONFIG_PATH="$prefix/$libdir/pkgconfig" pkg-config --cflags --libs xefile) || fail "pkg-config does not know xefile"
${CC:-cc} -std=c11 -Wall -Wextra -pedantic -Werror -o "$work/cineinfo-pc" "$source/examples/cineinfo.c" $flags || fail "cc with pkg-config flags failed"

export LD_LIBRARY_PATH="$prefix/$libdir"
export XDG_CONFIG_HOME="$work/config"
"$tool" demo "$work/sample.cine" --frames 20 --size 64x48 >/dev/null || fail "no sample cine"
"$work/consumer/cineinfo" "$work/sample.cine" >"$work/cmake.txt" || fail "the find_package build of cineinfo failed"
"$work/cineinfo-pc" "$work/sample.cine" >"$work/pc.txt" || fail "the pkg-config build of cineinfo failed"
grep -q 'image size' "$work/cmake.txt" || fail "cineinfo printed no description"
cmp -s "$work/cmake.txt" "$work/pc.txt" || { diff "$work/cmake.txt" "$work/pc.txt" >&2; fail "the two builds print different text"; }
# Both ran the installed library, not the one of the build tree.
for exe in "$work/consumer/cineinfo" "$work/cineinfo-pc"; do
  ldd "$exe" | grep -q "$prefix/$libdir/libxefile.so" || fail "$exe does not load the installed library"
done
echo "install_test: both builds of cineinfo ran against $prefix"
