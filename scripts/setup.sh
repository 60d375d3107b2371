#!/usr/bin/env bash
# Installs what is missing (Debian 12, as root or with sudo), configures and builds.
#   scripts/setup.sh build   install + build (default)
#   scripts/setup.sh run     install + build + run the program's main job headless
#   scripts/setup.sh test    install + build + run every test
set -euo pipefail
cd "$(dirname "$0")/.."

mode=${1:-build}
build_dir=${KVO_BUILD_DIR:-build}

packages=(cmake g++ ninja-build pkg-config ccache qt6-base-dev libqscintilla2-qt6-dev libfftw3-dev
          liblapacke-dev libopenblas-dev portaudio19-dev libpng-dev zlib1g-dev libicu-dev libgtest-dev
          libgmock-dev libbenchmark-dev xvfb xauth locales sox espeak-ng tcl libxml2-utils python3)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "== installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# A locale with a comma decimal mark, so the tests can prove numbers never use it.
if ! locale -a 2>/dev/null | grep -qi '^de_DE.utf8$'; then
  if [ "$(id -u)" -eq 0 ] && [ -f /etc/locale.gen ]; then
    sed -i 's/^# *de_DE.UTF-8 UTF-8/de_DE.UTF-8 UTF-8/' /etc/locale.gen
    grep -q '^de_DE.UTF-8 UTF-8' /etc/locale.gen || echo 'de_DE.UTF-8 UTF-8' >> /etc/locale.gen
    locale-gen >/dev/null 2>&1 || true
  fi
fi

# Builds in other trees of the same sources share the compiler cache.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD} CCACHE_NOHASHDIR=1
jobs=$(nproc)
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo ${KVO_CMAKE_ARGS:-} >/dev/null
ninja -C "$build_dir" -j"$jobs"

case "$mode" in
  build) ;;
  run)
    if [ $# -gt 1 ]; then shift; exec "$build_dir/app/kvo" --headless "$@"; fi
    exec "$build_dir/app/kvo" --headless examples/report.kvs MAIN
    ;;
  test)
    ctest --test-dir "$build_dir" --output-on-failure -j"$jobs"
    ;;
  *)
    echo "usage: scripts/setup.sh [build|run|test]" >&2
    exit 64
    ;;
esac
