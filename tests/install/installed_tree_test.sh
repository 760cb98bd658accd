#!/usr/bin/env bash
# The installed tree as a till vendor uses it: the C till example built from its installed
# copy through find_package and through pkg-config sells on a demo site made by the
# installed ccaddin-till, and the installed simulator tool reads both sales back.
#   installed_tree_test.sh SOURCE_DIR BUILD_DIR WORK_DIR
set -euo pipefail
src=$1 build=$2 work=$3
fail() { echo "FAIL: $*" >&2; exit 1; }
rm -rf "$work" && mkdir -p "$work"
prefix=$(mktemp -d) # outside the build tree, so that no path into it is there by right
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" >"$work/install.log"

soname=$(objdump -p "$prefix/lib/libccaddin.so" | awk '$1 == "SONAME" { print $2 }')
[[ $soname =~ ^libccaddin\.so\.[0-9]+$ && -f $prefix/lib/$soname ]] || fail "SONAME '$soname'"
! grep -rIlF -e "$src" -e "$build" "$prefix" || fail "these name the source or build tree"

example=$prefix/share/doc/ccaddin/examples/c_till
cmake -S "$example" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_C_FLAGS="-Wall -Wextra -Werror -pedantic" >"$work/cmake.log"
grep -qx "ccaddin_DIR:PATH=$prefix/lib/cmake/ccaddin" "$work/cmake/CMakeCache.txt" || fail "ccaddin_DIR"
cmake --build "$work/cmake" >>"$work/cmake.log"
[[ $(ldd "$work/cmake/c_till") == *"$prefix/lib/$soname"* ]] || fail "c_till loads another library"
# shellcheck disable=SC2046 # separate words
cc -std=c99 -Wall -Wextra -Werror -pedantic -o "$work/pc_till" "$example/c_till.c" \
  $(PKG_CONFIG_LIBDIR=$prefix/lib/pkgconfig pkg-config --cflags --libs ccaddin)

eval "$("$prefix/bin/ccaddin-till" setup --dir "$work/site" --print-env)"
for till in "$work/cmake/c_till" "$work/pc_till"; do
  out=$(LD_LIBRARY_PATH=$prefix/lib "$till" 12.50) || fail "$till exited $?: $out"
  grep -q "^TOTAL  *£12\.50$" <<<"$out" && grep -q "Outcome: AUTHORISED" <<<"$out" || fail "$out"
done
store=$("$prefix/bin/ccaddin-qlsim-store" "$work/site/config/qlclient.json" transactions)
[ "$(grep -c "AUTHORISED confirmed" <<<"$store")" -eq 2 ] || fail "the store holds: $store"
