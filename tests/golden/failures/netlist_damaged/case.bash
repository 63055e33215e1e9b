run_name=impl_1
new_args=(--device lp384 --package qn32)
before_launch() {
  "$xp" -C proj launch synth_1 2>/dev/null >&2
  printf '{"modules": {' >proj/runs/synth_1/t.json
}
