#!/bin/sh
# Builds hosts by pkg-config, one for each library at least, and runs them: LIBDIR WORKDIR COMPILER [FLAG...]
set -eu
libdir=$1 work=$2 tree=$(dirname "$0")/../..
shift 2
# A host of the shared libraries needs no development files of what these stand on.
if [ -e "$libdir/libTilvaneGoSDK.so" ]; then export PKG_CONFIG_LIBDIR="$libdir/pkgconfig"; fi
export PKG_CONFIG_PATH="$libdir/pkgconfig" LD_LIBRARY_PATH="$libdir" PATH="$tree/tests/snippets/bin:$PATH"
mkdir -p "$work"
# shellcheck disable=SC2016  # backquotes of the page
sed -n '/^```cpp$/,/^```$/{//!p}' "$tree/README.md" >"$work/readme.cpp"

# host SOURCE PACKAGE...: builds and runs it.
host() {
  source=$1 program=$work/by_pkg_config_$(basename "$1" .cpp)
  shift
  # shellcheck disable=SC2046  # pkg-config gives words
  $compile "$source" $(pkg-config --cflags --libs "$@") -o "$program"
  "$program"
}
compile=$*
host "$work/readme.cpp" tilvanego | tee "$work/readme.txt"
grep -qx 'Paid, approval code 7F3A' "$work/readme.txt"
host "$tree/tests/package/consumer/client.cpp" tilvanego-http-client tilvanego-models
host "$tree/examples/sandbox_test.cpp" tilvanego-sandbox
# Qt wants position-independent code of its hosts.
if [ -e "$libdir/pkgconfig/tilvanego-qt.pc" ]; then
  (
    unset PKG_CONFIG_LIBDIR
    export QT_QPA_PLATFORM=offscreen
    compile="$compile -fPIC"
    host "$tree/examples/qt_host.cpp" tilvanego-qt tilvanego-sandbox Qt6Gui
  )
fi
# A host that only takes payments is bound to no HTTP library.
if ldd "$work/by_pkg_config_readme" | grep curl; then exit 1; fi
