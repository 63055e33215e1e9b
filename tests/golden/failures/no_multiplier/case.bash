run_name=impl_1
new_args=(--device hx1k --package tq144)
