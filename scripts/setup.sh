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
  libssl-dev libpcre2-dev libicu-dev libcli11-dev nlohmann-json3-dev libsqlitecpp-dev libsqlite3-dev libzstd-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-dev python3-venv python3-setuptools python3-wheel python3-pytest python3-jsonschema mypy git universal-ctags
  python3-distributed python3-zstandard openssl)
# What .ci/run needs beside them.
# shellcheck disable=SC2034
CI_PACKAGES=(clang clang-format clang-tidy fish lintian man-db shellcheck vim zsh)
# What bench/recall and bench/recall_corpus need beside them.
# shellcheck disable=SC2034
RECALL_PACKAGES=(universal-ctags dpkg-dev)

# The same where there is no apt, as their authors name them, in the oldest versions that we build
# with; what stands behind npm is for the tests.
REQUIREMENTS="GCC 12 or clang 14, CMake 3.25, Ninja 1.11, pkg-config, Python 3.11 with its headers,
  ICU 72 (icu-uc), OpenSSL 3.0 (libcrypto), PCRE2 10.42 (libpcre2-8), SQLite 3.40 with FTS5 (sqlite3),
  SQLiteCpp 3.2, CLI11 2.1, nlohmann/json 3.11, Zstandard 1.5 (libzstd), npm,
  GoogleTest 1.12 with GoogleMock, pytest 7, jsonschema 4, mypy 1.0, git,
  Universal Ctags"

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

# _require_requirements: what can be asked for is asked for; libraries of headers only are CMake's to
# find.
_require_requirements() {
  local command library
  local -a missing=()
  for command in c++ cmake ninja pkg-config python3 npm git ctags; do
    command -v "$command" >/dev/null || missing+=("$command")
  done
  for library in "icu-uc >= 72" "libcrypto >= 3.0" "libpcre2-8 >= 10.42" "sqlite3 >= 3.40"; do
    pkg-config --exists "$library" 2>/dev/null || missing+=("$library")
  done
  [[ ${#missing[@]} -eq 0 ]] ||
    die "$(printf 'not found:%s\nThere is no apt here to install them; needed are, or newer:\n  %s' \
      "$(printf ' %s;' "${missing[@]}")" "$REQUIREMENTS")"
}

# install_packages PACKAGE...: by apt, and only what is missing.
install_packages() {
  local package
  local -a missing=()
  if ! command -v dpkg-query >/dev/null; then
    _require_requirements
    return
  fi
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
