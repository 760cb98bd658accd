#!/usr/bin/env bash
# The Debian package CPack makes from this build: its control data (the runtime dependencies
# dpkg-shlibdeps found, each known and satisfied on this Debian system), its file list (what
# a till vendor needs, owned by root, no file outside the package's own places) and the
# prefix of the pkg-config file inside it.
#   debian_package_test.sh BUILD_DIR WORK_DIR VERSION
set -euo pipefail
build=$1 work=$2 version=$3
fail() { echo "FAIL: $*" >&2; exit 1; }
rm -rf "$work" && mkdir -p "$work"
cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/cpack.log" 2>&1
deb=$work/ccaddin_${version}_$(dpkg --print-architecture).deb

depends=$(dpkg-deb -f "$deb" Depends)
for needed in libc6 libsqlite3-0 libstdc++6; do
  [[ ", $depends" == *", $needed "* ]] || fail "Depends lacks $needed: $depends"
done
IFS=',' read -ra deps <<<"$depends"
for dep in "${deps[@]}"; do
  read -r name op ver <<<"${dep//[()]/}"
  here=$(dpkg-query -W -f='${Version}' "$name") && dpkg --compare-versions "$here" "${op:-ge}" "${ver:-0}" ||
    fail "$dep is not met here"
done
dpkg-deb -I "$deb" shlibs | grep -q "^libccaddin [0-9]* ccaddin" || fail "no shlibs entry"

listing=$(dpkg-deb -c "$deb")
! awk '$2 != "root/root"' <<<"$listing" | grep . || fail "not owned by root"
paths=$(awk '{ print $6 }' <<<"$listing")
for path in usr/lib/libccaddin.so.$version usr/include/ccaddin/ccaddin.h usr/bin/ccaddin-reg \
  usr/bin/ccaddin-support usr/bin/ccaddin-till usr/bin/ccaddin-qlsim-store var/lib/ccaddin/ \
  usr/lib/cmake/ccaddin/ccaddinConfig.cmake usr/lib/pkgconfig/ccaddin.pc etc/ccaddin/ports/; do
  grep -qxF "./$path" <<<"$paths" || fail "$path missing from: $paths"
done
! grep -v '/$' <<<"$paths" | grep -vE '^\./usr/(bin/ccaddin-|include/ccaddin/|lib/libccaddin\.so|lib/cmake/ccaddin/|lib/pkgconfig/ccaddin\.pc$|share/doc/ccaddin/)' ||
  fail "files outside the package's places"
dpkg-deb --fsys-tarfile "$deb" | tar -xO ./usr/lib/pkgconfig/ccaddin.pc | grep -qx "prefix=/usr" ||
  fail "the packaged ccaddin.pc does not point at /usr"
