# Sourced by the scripts beside it: where the tree is, and steps that are quiet unless they fail.
# With DRY_RUN=1 in the environment a script checks its arguments and prints the commands that it would run.
# shellcheck shell=bash
set -euo pipefail
script=$(realpath "$0")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
jobs=$(nproc 2>/dev/null || echo 2)
mkdir -p build

# Ends a script that was called wrongly, with what is wrong and what its second line says that it takes.
usage() {
  printf '%s\n' "$1" >&2
  sed -n '2s/^# \([^:]*\).*/usage: \1/p' "$script" >&2
  exit 2
}

# Ends a script that can't go on, with the sentence that says why.
give_up() {
  printf '%s\n' "$1" >&2
  exit 1
}

# needs COMMAND PACKAGE
needs() { is_dry_run || command -v "$1" >/dev/null || give_up "$1 is missing; it is in the package $2."; }

is_dry_run() { [ -n "${DRY_RUN:-}" ]; }

run() {
  if is_dry_run; then
    printf '%q ' "$@"
    echo
  else
    "$@"
  fi
}

# step LABEL COMMAND...: one line of progress; what the command writes is shown only if it fails.
step() {
  local label=$1 log started=$SECONDS
  shift
  if is_dry_run; then
    run "$@"
    return
  fi
  log=build/log-${label//[^a-z0-9]/-}.txt
  printf '%s ... ' "$label" >&2
  if "$@" >"$log" 2>&1 </dev/null; then
    printf 'done (%ds)\n' $((SECONDS - started)) >&2
  else
    printf 'failed\n\n' >&2
    cat "$log" >&2
    return 1
  fi
}

# build PRESET [CMAKE ARGUMENT...]: configures and builds one preset. On a terminal the build shows how far it is.
build() {
  local preset=$1
  shift
  step "configure $preset" cmake --preset "$preset" "$@"
  if [ -t 2 ] && ! is_dry_run; then
    NINJA_STATUS="build $preset [%f/%t] " cmake --build --preset "$preset" -j "$jobs" >&2
  else
    step "build $preset" cmake --build --preset "$preset" -j "$jobs"
  fi
}

# program till|terminal: where the preset demo puts it.
program() { echo "$PWD/build/demo/apps/$1/tilvanego-$1"; }

# The programs with a window, which are built where Qt is found.
build_windows() {
  build demo
  is_dry_run || [ -x "$(program till)" ] ||
    give_up "The windows were not built: Qt 6.4 or newer with Widgets is missing; it is in the package qt6-base-dev."
}

# run_tests PRESET [CTEST ARGUMENT...]: ctest, with its verdict as the last line. A test that is skipped has failed: so ctest
# calls the tests of a suite that couldn't be set up.
run_tests() {
  local preset=$1 runner=()
  shift
  if is_dry_run; then
    run ctest --preset "$preset" -j "$jobs" "$@"
    return
  fi
  # g++ 12's thread sanitizer can't start where the kernel randomises more than 28 bits of an address.
  if [ "$preset" = tsan ] && [ "$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 28)" -gt 28 ]; then
    runner=(setarch -R)
  fi
  "${runner[@]}" ctest --preset "$preset" -j "$jobs" "$@" | {
    verdict=
    skipped=
    while IFS= read -r line; do
      case $line in
        *" tests failed out of "*) verdict=$line ;;
        *)
          [ "$line" != 'The following tests did not run:' ] || skipped=1
          printf '%s\n' "$line"
          ;;
      esac
    done
    printf '%s\n' "$verdict"
    [ -z "$skipped" ] || give_up "Tests were skipped: see above."
  }
}
