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
  nlohmann-json3-dev libsimdjson-dev libsqlitecpp-dev libsqlite3-dev libcpp-httplib-dev
  libncurses-dev
  yosys nextpnr-ice40 fpga-icestorm fpga-icestorm-chipdb"
test="libgtest-dev libgmock-dev iverilog bats libxml2-utils strace util-linux procps busybox
  wine wine64 libvalijson-dev zsh fish man-db groff-base bsdextrautils bsdutils tmux
  chromium fonts-dejavu-core"
bench="libbenchmark-dev"
ci="clang-14 clang-format-14 clang-tidy-14 libclang-rt-14-dev python3-clang-14 shellcheck"

# The tests' grid engine. Its tests need root, and say that they are skipped without it.
grid="gridengine-master gridengine-exec gridengine-client iproute2"

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

# The page's tests take any node that is there, not only Debian's.
if [ "$1" != build ] && ! command -v node > /dev/null 2>&1; then
  wanted="$wanted nodejs npm"
fi

# missing_of PACKAGE...: those that aren't installed.
missing_of() {
  for package in "$@"; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2> /dev/null || true)
    [ "$state" = installed ] || echo "$package"
  done
}

# install PACKAGE...
install() { $as_root apt-get -q -y -o DPkg::Lock::Timeout=300 install --no-install-recommends "$@"; }

# The packages of a grid engine would make a cell of their own and start its daemons.
install_grid() {
  for package in common client exec master; do
    echo "gridengine-$package shared/gridengineconfig boolean false"
  done | debconf-set-selections || return 1
  # They want something that sends mail; this one is no daemon.
  [ -e /usr/sbin/sendmail ] || set -- "$@" msmtp-mta
  policy=/usr/sbin/policy-rc.d
  if [ -e $policy ]; then
    install "$@"
  else
    printf '#!/bin/sh\nexit 101\n' > $policy
    chmod 755 $policy
    installed=0
    install "$@" || installed=$?
    rm -f $policy
    return $installed
  fi
}

# shellcheck disable=SC2086  # a list of words
missing=$(missing_of $wanted)
missing_grid=
if [ "$1" != build ] && [ "$(id -u)" -eq 0 ]; then
  # shellcheck disable=SC2086  # a list of words
  missing_grid=$(missing_of $grid)
fi
# shellcheck disable=SC2086,SC2116  # their words on one line
missing=$(echo $missing) missing_grid=$(echo $missing_grid)
[ -n "$missing$missing_grid" ] || exit 0

if ! command -v apt-get > /dev/null 2>&1; then
  echo "setup: no apt-get here; install these yourself: $missing $missing_grid" >&2
  [ -n "$missing" ] || exit 0
  exit 1
fi
as_root=
if [ "$(id -u)" -ne 0 ]; then
  as_root=sudo
  command -v sudo > /dev/null 2>&1 || {
    echo "setup: neither root nor sudo; ask an administrator to install: $missing" >&2
    exit 1
  }
fi
echo "setup: installing $missing $missing_grid"
export DEBIAN_FRONTEND=noninteractive
# The lists may be old, or not there yet.
update() { $as_root apt-get -q -o DPkg::Lock::Timeout=300 update; }
if [ -n "$missing" ]; then
  # shellcheck disable=SC2086  # a list of words
  install $missing || { update && install $missing; }
fi
if [ -n "$missing_grid" ]; then
  # shellcheck disable=SC2086  # a list of words
  install_grid $missing_grid || { update && install_grid $missing_grid; } ||
    echo "setup: WARNING: no grid engine here ($missing_grid): its tests will be SKIPPED" >&2
fi
