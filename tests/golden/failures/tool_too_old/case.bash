# As a yosys says it that doesn't know the command yet.
before_launch() {
  put_tool yosys '#!/bin/bash' "exec $(command -v yosys) -Q -q -q -L /dev/fd/1 -p 'synth_ice41 -top t'"
}
