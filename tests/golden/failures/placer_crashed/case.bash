run_name=impl_1
new_args=(--device lp384 --package qn32)
before_launch() {
  put_tool nextpnr-ice40 '#!/bin/bash' '[ "$1" = --version ] && exit' 'kill -SEGV $$'
}
