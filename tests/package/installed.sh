#!/bin/sh
# Installs the packages that lie in a folder, builds and runs hosts with them, removes them, and builds a host that brings the
# library itself: FOLDER. For a system that is thrown away.
set -eu
packages=$1 tree=$(dirname "$0")/../.. work=$(mktemp -d)
export DEBIAN_FRONTEND=noninteractive
files() { find / -xdev \( -path /tmp -o -path /root \) -prune -o -print | sort; }
install() { apt-get -q -y install --no-install-recommends "$@"; }

# What the packages stand on stays at the end; they themselves must be the only difference.
apt-get -q update
install g++ cmake make pkg-config
# shellcheck disable=SC2046  # names of packages
install $(apt-get -s install --no-install-recommends "$packages"/*.deb | sed -n 's/^Inst \([^ ]*\) .*/\1/p' | grep -v tilvanego)
files >"$work/before"
dpkg -i "$packages"/*.deb

sh "$tree/tests/package/pkg_config.sh" "/usr/lib/$(g++ -print-multiarch)" "$work/pkg_config" g++ -std=c++23
cmake -S "$tree/tests/package/consumer" -B "$work/consumer"
cmake --build "$work/consumer"
"$work/consumer/consumer" | grep -x 'Paid, approval code 7F3A'
cmake -S /usr/share/doc/libtilvanego-dev/examples -B "$work/examples"
cmake --build "$work/examples"
ctest --test-dir "$work/examples" --output-on-failure
tilvanego demo --transport urlScheme
test -s /usr/share/man/man1/tilvanego.1.gz
tilvanego-terminal --help
tilvanego-till --help
test -s /usr/share/bash-completion/completions/tilvanego

dpkg --purge tilvanego tilvanego-desktop libtilvanego-qt-dev libtilvanego-qt1 libtilvanego-dev libtilvanego1
files >"$work/after"
diff "$work/before" "$work/after"
echo "Installed, used and removed."

# The library in a host's own build needs what it stands on.
install libicu-dev libssl-dev zlib1g-dev
cmake -S "$tree/tests/package/embedding" -B "$work/embedding" -DTREE="$(realpath "$tree")" -DWAY=FetchContent \
  -DTILVANEGO_BUILD_HTTP_CLIENT=OFF
cmake --build "$work/embedding" --target host -j "$(nproc)"
"$work/embedding/host"
rm -r "$work"
echo "Built within a host."
