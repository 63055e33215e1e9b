# It is there at the launch, and gone when its step comes.
run_name=impl_1
new_args=(--device lp384 --package qn32)
before_launch() {
  mkdir -p "$tool_dir"
  ln -s /usr/bin/* "$tool_dir"
  rm "$tool_dir/nextpnr-ice40"
  printf '%s\n' '#!/bin/bash' 'rm -f "${0%/*}/icepack"' 'exec /usr/bin/nextpnr-ice40 "$@"' >"$tool_dir/nextpnr-ice40"
  chmod +x "$tool_dir/nextpnr-ice40"
  launch_in=(env "PATH=$tool_dir")
}
