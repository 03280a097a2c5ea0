#!/usr/bin/env bash
# The installed tree as a C host meets it.  Installs BUILD_DIR into a staging
# prefix in a temporary folder, checks what landed there, then builds
# tests/c_header_test.c against the installed files only, twice: with the
# flags `pkg-config --cflags --libs ks_imp` gives, and as a CMake project
# that calls find_package(KsImp) and links KsImp::ks_imp.  Both programs
# must run and pass.  The temporary folder is removed at the end.
#
#   install_test.sh BUILD_DIR SOURCE_DIR
#
# Environment: CC, CFLAGS and LDFLAGS build the hosts (a build with
# sanitizers must pass their flags: its libraries cannot be loaded by a
# program built without them); CMAKE, PKG_CONFIG and CMAKE_GENERATOR name
# the tools.  ctest sets them all from the build.
set -euo pipefail
[ $# -eq 2 ] || {
  echo "usage: $0 BUILD_DIR SOURCE_DIR" >&2
  exit 2
}
build=$(cd "$1" && pwd)
source=$(cd "$2" && pwd)
cc=${CC:-cc}
cmake=${CMAKE:-cmake}
pkg_config=${PKG_CONFIG:-pkg-config}
read -ra cflags <<<"${CFLAGS:-}"
read -ra ldflags <<<"${LDFLAGS:-}"

work=$(mktemp -d "${TMPDIR:-/tmp}/ks_install_test.XXXXXX")
trap 'rm -rf "$work"' EXIT
stage=$work/stage

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# Runs a command quietly; on failure shows what it printed and stops.
run() {
  local what=$1
  shift
  if ! "$@" >"$work/log" 2>&1; then
    cat "$work/log" >&2
    fail "$what"
  fi
}

echo "== cmake --install into a staging prefix"
run "cmake --install" "$cmake" --install "$build" --prefix "$stage"

# pkg-config finds the installed files only through the staging folder.
pc=$(find "$stage" -name ks_imp.pc -path '*/pkgconfig/*')
[ -n "$pc" ] || fail "no ks_imp.pc installed"
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$pc")
[ "$("$pkg_config" --variable=prefix ks_imp)" = "$stage" ] ||
  fail "ks_imp.pc names prefix $("$pkg_config" --variable=prefix ks_imp), not the staging prefix"
libdir=$("$pkg_config" --variable=libdir ks_imp)
includedir=$("$pkg_config" --variable=includedir ks_imp)
[ "$libdir/pkgconfig" = "$PKG_CONFIG_PATH" ] || fail "ks_imp.pc is not in \$libdir/pkgconfig"
[ "$("$pkg_config" --variable=libdir ks_eng5)" = "$libdir" ] || fail "ks_eng5.pc names another libdir"

echo "== what is installed"
for f in "$libdir"/libks_imp.so "$libdir"/libks_imp.so.5 "$libdir"/libks_eng5.so \
  "$libdir"/libks_eng5.so.5; do
  [ -L "$f" ] || fail "$f is not installed as a link"
  [ -e "$f" ] || fail "$f is a dangling link"
done
for f in "$includedir"/ks_imp.h "$includedir"/ks_eng5.h "$stage"/bin/ksimp \
  "$libdir"/pkgconfig/ks_eng5.pc "$libdir"/cmake/KsImp/KsImpConfig.cmake \
  "$libdir"/cmake/KsImp/KsImpConfigVersion.cmake "$libdir"/cmake/KsImp/KsImpTargets.cmake; do
  [ -f "$f" ] || fail "$f is not installed"
done
extra=$(find "$stage" \( -name '*.a' -o -name '*_test*' -o -name '*_bench' -o -name 'fuzz_*' \) -print)
[ -z "$extra" ] || fail "installed what stays in the build tree: $extra"
[ "$(ls "$stage/bin")" = "ksimp" ] || fail "bin holds more than ksimp: $(ls "$stage/bin")"
# The installed ksimp finds its libraries beside it, with no LD_LIBRARY_PATH.
run "installed ksimp --help" env -u LD_LIBRARY_PATH "$stage/bin/ksimp" --help

echo "== a C host built with pkg-config's flags"
read -ra pc_flags <<<"$("$pkg_config" --cflags --libs ks_imp)"
mkdir "$work/pkgconfig_host"
run "compiling with pkg-config --cflags --libs ks_imp" \
  "$cc" "${cflags[@]}" -o "$work/pkgconfig_host/c_header_test" \
  "$source/tests/c_header_test.c" "${pc_flags[@]}" "${ldflags[@]}" -Wl,-rpath,"$libdir"
"$work/pkgconfig_host/c_header_test" "$work/pkgconfig_host" || fail "the pkg-config host"

echo "== a C host built by CMake with find_package(KsImp)"
version=$("$pkg_config" --modversion ks_imp)
consumer=$work/cmake_host
mkdir "$consumer"
cp "$source/tests/c_header_test.c" "$consumer/"
cat >"$consumer/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.20)
project(ks_imp_cmake_host LANGUAGES C)
find_package(KsImp $version CONFIG REQUIRED)
add_executable(c_header_test c_header_test.c)
target_link_libraries(c_header_test PRIVATE KsImp::ks_imp)
EOF
run "configuring the find_package(KsImp) project" \
  "$cmake" -S "$consumer" -B "$consumer/build" -DCMAKE_PREFIX_PATH="$stage"
found=$(sed -n 's/^KsImp_DIR:[A-Z]*=//p' "$consumer/build/CMakeCache.txt")
[ "$found" = "$libdir/cmake/KsImp" ] || fail "find_package(KsImp) found $found, not the staged package"
run "building the find_package(KsImp) project" "$cmake" --build "$consumer/build"
"$consumer/build/c_header_test" "$consumer/build" || fail "the find_package(KsImp) host"

echo "install_test: all checks passed"
