#!/bin/sh
# Installs a build into a folder of its own, builds the consumer project and the example for
# integrators against it and runs them.
#
#   tools/check_install.sh BUILD
set -eu
cd "$(dirname "$0")/.."
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/usr" > "$work/install.log"
cmake -S tests/install/consumer -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/usr" \
  -DCMAKE_BUILD_TYPE=Release > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/consumer"
mkdir "$work/runs"
"$work/consumer/consumer" "$work/runs"

# The example for integrators, with a class for each hook.
cmake -S examples/integrator -B "$work/letters" -G Ninja -DCMAKE_PREFIX_PATH="$work/usr" \
  -DCMAKE_BUILD_TYPE=Release > "$work/configure.log" || { cat "$work/configure.log"; exit 1; }
cmake --build "$work/letters"
mkdir "$work/texts"
"$work/letters/letters" "$work/texts"

pc=$(dirname "$(find "$work/usr" -name xperiment-runs.pc)")
for name in environment runs workbench; do
  PKG_CONFIG_PATH=$pc pkg-config --exists --print-errors "xperiment-$name"
done

# The installed tools take a design to a bitstream, from a folder of any name.
mv "$work/usr" "$work/moved tree"
xp="$work/moved tree/bin/xp"
export XDG_CONFIG_HOME="$work/config"
design=$PWD/examples/blinky
make_bitstream() {
  "$xp" new "$work/chip" --top blinky --source "$design/blinky.v" \
    --constraints "$design/blinky.pcf" --device hx8k --package ct256
  "$xp" -C "$work/chip" create synth_1 --flow synth
  "$xp" -C "$work/chip" create impl_1 --flow impl
  "$xp" -C "$work/chip" launch
}
make_bitstream > "$work/xp.log" 2>&1 || true
[ -s "$work/chip/runs/impl_1/blinky.bin" ] || { cat "$work/xp.log"; exit 1; }
echo "installed xp: $(wc -c < "$work/chip/runs/impl_1/blinky.bin") bytes of bitstream"

# So does a plain tclsh that is told where the package lies, and xp tcl.
cat > "$work/session.tcl" <<'TCL'
package require xperiment
namespace import -force xperiment::*
lassign $argv dir
project open $dir
run create impl_tcl -flow impl -set {seed 2}
run launch impl_tcl
if {[run wait] ne {impl_tcl done}} {error "the run failed: [run explain impl_tcl]"}
project html -file $dir/page.html
set address [project serve]
project unserve
puts "installed package: [package present xperiment], Fmax [run get impl_tcl fmax_mhz] MHz"
run delete impl_tcl
TCL
if command -v tclsh8.6 > /dev/null; then
  (cd / && TCLLIBPATH="{$work/moved tree/lib/tcltk}" tclsh8.6 "$work/session.tcl" "$work/chip")
  [ -s "$work/chip/page.html" ]
else
  echo "tclsh8.6 is missing: the installed package isn't tried"
fi
"$xp" tcl "$work/session.tcl" "$work/chip"
