#!/bin/sh
# Installs the Debian packages that a task needs, if they aren't there.
#
#   tools/setup.sh build|test|bench|ci
#
# Each task includes the ones before it. As root it calls apt-get itself, else
# through sudo; with nothing missing it does neither.
set -eu

build="g++ cmake ninja-build ccache pkg-config python3 libboost-dev libboost-filesystem-dev
  libboost-regex-dev libboost-random-dev libxml2-dev tcl8.6-dev libfmt-dev libcli11-dev
  nlohmann-json3-dev yosys nextpnr-ice40 fpga-icestorm fpga-icestorm-chipdb"
test="libgtest-dev libgmock-dev iverilog bats libxml2-utils strace util-linux procps busybox
  wine wine64"
bench="libbenchmark-dev"
ci="clang-14 clang-format-14 clang-tidy-14 libclang-rt-14-dev shellcheck"

case ${1:-} in
  build) wanted=$build ;;
  test) wanted="$build $test" ;;
  bench) wanted="$build $test $bench" ;;
  ci) wanted="$build $test $bench $ci" ;;
  *)
    echo "usage: tools/setup.sh build|test|bench|ci" >&2
    exit 2
    ;;
esac

missing=
for package in $wanted; do
  state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2> /dev/null || true)
  [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if ! command -v apt-get > /dev/null 2>&1; then
  echo "setup: no apt-get here; install these yourself:$missing" >&2
  exit 1
fi
as_root=
if [ "$(id -u)" -ne 0 ]; then
  as_root=sudo
  command -v sudo > /dev/null 2>&1 || {
    echo "setup: neither root nor sudo; ask an administrator to install:$missing" >&2
    exit 1
  }
fi
echo "setup: installing$missing"
export DEBIAN_FRONTEND=noninteractive
# shellcheck disable=SC2086  # a list of words
install() { $as_root apt-get -q -y -o DPkg::Lock::Timeout=300 install --no-install-recommends $missing; }
if ! install; then
  # The lists may be old, or not there yet.
  $as_root apt-get -q -o DPkg::Lock::Timeout=300 update
  install
fi
