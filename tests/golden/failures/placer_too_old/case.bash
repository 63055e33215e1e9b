run_name=impl_1
new_args=(--device lp384 --package qn32)
# It refuses an option as the real one does.
before_launch() {
  put_tool nextpnr-ice40 '#!/bin/bash' "exec $(command -v nextpnr-ice40) \"\$@\" --speed-of-light"
}
