# What the synthesis writes fills the disk of the runs. It says nothing, so that the log has room.
before_launch() {
  [ "$(id -u)" = 0 ] || skip 'SKIPPED: not root, no small disk can be mounted'
  mkdir -p proj/runs
  mount -t tmpfs -o size=400k xptest proj/runs || skip 'SKIPPED: no small disk can be mounted here'
  put_tool yosys '#!/bin/bash' "$(command -v yosys) \"\$@\" >/dev/null 2>&1 || exit" 'cat /dev/zero >fill 2>/dev/null' 'exit 0'
}
