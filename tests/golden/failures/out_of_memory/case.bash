before_launch() {
  put_tool yosys '#!/bin/bash' 'ulimit -v 60000' "exec $(command -v yosys) \"\$@\""
}
