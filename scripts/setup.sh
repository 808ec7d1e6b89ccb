# What ./run, ./test and .ci/run share: installing what is missing, and building quietly.
#
# To be sourced by a bash script with `set -euo pipefail`. Messages go to standard error, so that
# standard output is left to the tool that ./run starts. What is installed is left as it is, and only
# missing things are downloaded: a second run takes less than a second.
#
# shellcheck shell=bash

# The real path of the checkout, even when it was reached by a link: compilers note the paths of files.
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

# For building and for testing, since one build folder serves both.
BUILD_PACKAGES=(build-essential cmake ninja-build pkg-config
  libssl-dev libpcre2-dev libicu-dev libcli11-dev nlohmann-json3-dev libsqlitecpp-dev libsqlite3-dev libzstd-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-dev python3-venv python3-setuptools python3-wheel python3-pytest python3-jsonschema mypy git universal-ctags
  python3-distributed python3-zstandard openssl)
# .ci/run needs these too.
# shellcheck disable=SC2034
CI_PACKAGES=(clang clang-format clang-tidy fish lintian man-db shellcheck vim zsh)
# bench/recall and bench/recall_corpus need these too.
# shellcheck disable=SC2034
RECALL_PACKAGES=(universal-ctags dpkg-dev)

# What to install where there is no apt, with the oldest versions that work. What stands after npm is for
# the tests.
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

# run_logged LOG COMMAND...: the output goes to LOG; if the command fails, its end is shown.
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

# _require_requirements: ends the script unless all programs and libraries are there. Libraries that are only
# headers are left to CMake, which looks for them.
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

# install_packages PACKAGE...: installs by apt what is missing.
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
  # npm need not be Debian's, so this looks for the command and not for the package.
  command -v npm >/dev/null || missing+=(nodejs npm)
  [[ ${#missing[@]} -gt 0 ]] || return 0

  local -a as_root=()
  if [[ $EUID -ne 0 ]]; then
    command -v sudo >/dev/null ||
      die "packages are missing and there is no sudo; as root, run: apt-get install ${missing[*]}"
    as_root=(sudo --)
  fi
  say "installing ${missing[*]}"
  # A failed update is no failure: the package lists at hand may be good enough.
  run_logged "$ROOT/build/apt-update.log" "${as_root[@]}" apt-get update -q || true
  run_logged "$ROOT/build/apt-install.log" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}" || exit 2
}

# install_node_modules: installs the tree-sitter sources, in the versions of package-lock.json. A copy of
# that file is written last, and marks a complete installation.
install_node_modules() {
  local stamp=$ROOT/node_modules/.installed-lock.json
  cmp -s "$ROOT/package-lock.json" "$stamp" && return
  say "installing the tree-sitter sources"
  run_logged "$ROOT/build/npm.log" npm --prefix "$ROOT" ci --no-audit --no-fund || exit 2
  cp "$ROOT/package-lock.json" "$stamp"
}

# _is_elsewhere FOLDER: whether the build folder was configured for another place, because the checkout was
# moved or copied. CMake refuses to use a moved one, and a copied one would build in its old place.
_is_elsewhere() {
  local cache=$1/CMakeCache.txt
  local home place
  [[ -f $cache ]] || return 1
  home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$cache")
  place=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$cache")
  [[ ! ($home -ef $ROOT && $place -ef $1) ]]
}

# build PRESET: configures if there is no build yet, or one for another place, or if the presets have
# changed (CMake itself watches its other files); then builds what has changed. Other files in the folder
# stay, such as those that fuzzers found. Ninja prints only failures, and goes on after one.
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

# set_up: installs everything and builds the release. Two runs at once would write the same files, so the
# second one waits.
set_up() {
  mkdir -p "$ROOT/build"
  exec {lock}>"$ROOT/build/.lock"
  flock "$lock"
  install_packages "${BUILD_PACKAGES[@]}"
  install_node_modules
  build release || exit 2
  exec {lock}>&-
}
