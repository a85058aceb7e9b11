#!/bin/sh
# Builds the consumer by pkg-config and runs it: LIBDIR WORKDIR COMPILER [FLAG...]
set -eu
libdir=$1 work=$2
shift 2
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046  # pkg-config gives words
"$@" "$(dirname "$0")/consumer/main.cpp" $(pkg-config --cflags --libs tilvanego) -o "$work/by_pkg_config"
LD_LIBRARY_PATH="$libdir" "$work/by_pkg_config"
# A host that only takes payments is bound to no HTTP library.
if ldd "$work/by_pkg_config" | grep curl; then exit 1; fi
