# What ./run, ./test and .ci/run share: installing what is missing, and building quietly.
#
# To be sourced by a bash script with `set -euo pipefail`. Messages go to standard error, so that
# the standard output of ./run is the tool's alone. Nothing that is in place is touched, and the
# network is asked only for what is missing: a second run takes less than a second.
#
# shellcheck shell=bash

# One name for the checkout, by whatever links it was reached: compilers know no other.
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

# One list for building and testing, since one build folder serves both.
BUILD_PACKAGES=(build-essential cmake ninja-build pkg-config
  libssl-dev libpcre2-dev libicu-dev libcli11-dev nlohmann-json3-dev libsqlitecpp-dev libsqlite3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-dev python3-venv python3-setuptools python3-wheel python3-pytest python3-jsonschema mypy git universal-ctags)
# What .ci/run needs beside them.
# shellcheck disable=SC2034
CI_PACKAGES=(clang clang-format clang-tidy shellcheck vim)
# What bench/recall and bench/recall_corpus need beside them.
# shellcheck disable=SC2034
RECALL_PACKAGES=(universal-ctags dpkg-dev)

say() { echo "${0##*/}: $*" >&2; }

die() {
  say "$@"
  exit 2
}

# run_logged LOG COMMAND...: its output is read only when it fails.
run_logged() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  if ! "$@" >"$log" 2>&1 </dev/null; then
    tail -n 60 "$log" >&2
    say "failed: $* (the whole output is in $log)"
    return 1
  fi
}

_is_installed() {
  [[ $(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null) == installed ]]
}

# install_packages PACKAGE...: by apt, and only what is missing.
install_packages() {
  local package
  local -a missing=()
  command -v dpkg-query >/dev/null ||
    die "this is no Debian system; needed here: $* and npm"
  for package in "$@"; do
    _is_installed "$package" || missing+=("$package")
  done
  # npm may come from elsewhere than Debian, so the command is asked for and not the package.
  command -v npm >/dev/null || missing+=(nodejs npm)
  [[ ${#missing[@]} -gt 0 ]] || return 0

  local -a as_root=()
  if [[ $EUID -ne 0 ]]; then
    command -v sudo >/dev/null ||
      die "packages are missing and there is no sudo; as root, run: apt-get install ${missing[*]}"
    as_root=(sudo --)
  fi
  say "installing ${missing[*]}"
  # Old package lists may still do, so the installation decides and not the update.
  run_logged "$ROOT/build/apt-update.log" "${as_root[@]}" apt-get update -q || true
  run_logged "$ROOT/build/apt-install.log" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}" || exit 2
}

# install_node_modules: the tree-sitter sources, exactly as locked. The copy of the lock file that
# is written last marks a complete installation.
install_node_modules() {
  local stamp=$ROOT/node_modules/.installed-lock.json
  cmp -s "$ROOT/package-lock.json" "$stamp" && return
  say "installing the tree-sitter sources"
  run_logged "$ROOT/build/npm.log" npm --prefix "$ROOT" ci --no-audit --no-fund || exit 2
  cp "$ROOT/package-lock.json" "$stamp"
}

# _is_elsewhere FOLDER: whether it was configured for another place, since the checkout was moved or
# copied. CMake refuses to go on with a moved one, and a copied one would build where it came from.
_is_elsewhere() {
  local cache=$1/CMakeCache.txt
  local home place
  [[ -f $cache ]] || return 1
  home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$cache")
  place=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$cache")
  [[ ! ($home -ef $ROOT && $place -ef $1) ]]
}

# build PRESET: configures when there is no build yet, or one for another place, or the presets have
# changed; then builds what changed. The rest of the configuration CMake watches itself. What lies in
# the folder beside it stays, such as what fuzzers found. Ninja names only what fails, and goes on to
# name all of it.
build() {
  local preset=$1
  local folder=$ROOT/build/$preset
  if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  fi
  if _is_elsewhere "$folder"; then
    say "build/$preset was made elsewhere and is made anew"
    rm -f "$folder/build.ninja"
  fi
  if [[ ! -f $folder/build.ninja ]]; then
    say "building $preset from nothing, this takes a minute or more"
  fi
  if [[ ! -f $folder/build.ninja || $ROOT/CMakePresets.json -nt $folder/build.ninja ]]; then
    (cd "$ROOT" && run_logged "$folder/configure.log" cmake --fresh --preset "$preset") || return 1
  fi
  run_logged "$folder/build.log" cmake --build "$folder" -- --quiet -k 0
}

# set_up: everything up to the release build. Two of these at once would write the same files, so
# the second waits.
set_up() {
  mkdir -p "$ROOT/build"
  exec {lock}>"$ROOT/build/.lock"
  flock "$lock"
  install_packages "${BUILD_PACKAGES[@]}"
  install_node_modules
  build release || exit 2
  exec {lock}>&-
}
