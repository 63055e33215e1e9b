run_name=impl_1
new_args=(--device lp384 --package qn32)
# The packer finds a routed design of a device that it doesn't know.
before_launch() {
  put_tool icepack '#!/bin/bash' 'for f; do case $f in *.asc) sed -i "s/^.device .*/.device 99k/" "$f" ;; esac; done' \
    "exec $(command -v icepack) \"\$@\""
}
