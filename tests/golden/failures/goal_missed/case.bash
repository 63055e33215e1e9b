run_name=impl_1
new_args=(--device lp384 --package qn32 --freq 900)
set_args=(require_timing=true)
